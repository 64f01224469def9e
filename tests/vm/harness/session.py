"""One boot of a virtual machine: the dialogue with its tests, and their results.

A test asks the host by a line that starts with "@@" and waits for one line of answer, "ok" or the reason why not.
"""

import pathlib
import re
import time
import zlib

import machine
import simulated

Path = pathlib.Path

SETTLE_SECONDS = 10  # for the panel, which follows the frame buffer, and for text on a serial port
SILENCE_SECONDS = 90  # without a line on the console: the guest hangs

PAGE = Path(__file__).resolve().parents[3] / "docs/simulated-board.md"

NO_RESULT = "no result"
ORDERLY_END = "guest-shutdown"
RESULT = re.compile(r"\[ +(RUN|OK|FAILED|SKIPPED) +\] (\w+(?:/\w+)?\.\w+(?:/\w+)?)")


class Session:
    """The suites of one boot. `directory` receives what it shows and prints, `expected` has the answers and screens of
    the simulated board."""

    def __init__(self, suites: list[str], directory: Path, expected: Path, guest: machine.Machine) -> None:
        self.suites = suites
        self.directory = directory
        self.expected = expected
        self.guest = guest
        self.results: dict[str, str] = {}
        self.notes: dict[str, list[str]] = {}
        self.current = directory.name  # what is printed before the first test
        self.expected_end = ORDERLY_END

    def run(self) -> None:
        for line in iter(self.next_line, None):
            if line.startswith("@@"):
                self.serve(*line[2:].split(" "))
            else:
                self.take(line)
        self.end(self.guest.shutdown_reason())

    def next_line(self) -> str | None:
        try:
            return self.guest.console.lines.get(timeout=SILENCE_SECONDS)
        except machine.queue.Empty:
            self.note(f"no output for {SILENCE_SECONDS} s; the machine was stopped")
            self.expected_end = ORDERLY_END
            self.guest.cut_power()
            return None

    def take(self, line: str) -> None:
        """Keep the result of a test, and what it printed."""
        match = RESULT.search(line)
        if match is None:
            self.note(line)
        elif match[1] == "RUN":
            self.current = match[2]
            self.results[self.current] = NO_RESULT
        elif match[2] == self.current and self.results[self.current] == NO_RESULT:
            self.results[self.current] = {"OK": "passed", "FAILED": "failed", "SKIPPED": "skipped"}[match[1]]
            if match[1] == "FAILED":
                self.keep_panel(self.current)

    def note(self, line: str) -> None:
        self.notes.setdefault(self.current, []).append(line)

    def keep_panel(self, name: str) -> None:
        self.guest.picture(self.directory / (name.replace("/", "-") + ".png"))

    def end(self, reason: str) -> None:
        """A test that ends the machine as it announced has passed."""
        is_expected = reason == self.expected_end
        if not is_expected:
            self.note(f"the machine ended by '{reason}', not by '{self.expected_end}'")
            self.results[self.current] = "failed"
        for test, result in self.results.items():
            if result == NO_RESULT:
                ends_machine = is_expected and reason != ORDERLY_END and test == self.current
                self.results[test] = "passed" if ends_machine else "failed"
        for suite in self.suites:
            if not any(f"{suite}." in test for test in self.results):
                self.results[suite] = "failed"

    def keep_text(self) -> None:
        (self.directory / "console.txt").write_bytes(self.guest.console.text)
        (self.directory / "ttyS0.bin").write_bytes(self.guest.library.text)

    # -------------------------------------------------------------------------------------------- requests

    def serve(self, request: str, *arguments: str) -> None:
        if request in ("started", "finished"):
            return
        served = {"panel": self.panel, "picture": self.picture, "remove": self.remove, "insert": self.insert,
                  "compare": self.compare, "await": self.await_text, "reboot": self.reboot, "cut": self.cut}.get(request)
        answer = served(*arguments) if served else f"unknown request '{request}'"
        if answer is not None:
            self.guest.console.send(answer)

    def matches(self, condition) -> bool:
        """Whether the panel comes to fulfil a condition."""
        deadline = time.monotonic() + SETTLE_SECONDS
        while not condition(self.guest.panel(self.directory / "panel.ppm")):
            if time.monotonic() > deadline:
                return False
        return True

    def panel(self, crc: str) -> str:
        """The panel has to show pixels with a CRC-32; without a scan-out the guest has compared its frame buffer only."""
        if not self.guest.is_scanned_out:
            return "ok"
        return "ok" if self.matches(lambda shown: zlib.crc32(shown) == int(crc, 16)) else "the panel shows others"

    def picture(self, name: str) -> str:
        """The panel has to show a screen of the simulated board."""
        expected = (self.expected / f"{name}.raw").read_bytes()
        is_same = self.matches(lambda shown: shown == expected)
        self.guest.picture(self.directory / f"{name}.png")
        return "ok" if is_same else f"the panel differs from the simulated board: {name}"

    def compare(self) -> str:
        """The answers of the probe have to be those of the simulated board, but for the documented differences."""
        notes = self.notes.get(self.current, [])
        answers = [note.removeprefix(simulated.PROBE) for note in notes if note.startswith(simulated.PROBE)]
        simulated_answers = (self.expected / "probe.txt").read_text().splitlines()
        listed = simulated.listed_differences(PAGE.read_text())
        return "; ".join(simulated.compare(simulated_answers, answers, listed)) or "ok"

    def remove(self) -> str:
        self.guest.remove_card()
        return "ok"

    def insert(self) -> str:
        self.guest.insert_card()
        return "ok"

    def await_text(self, *words: str) -> str:
        """The library's serial port has to send a text."""
        text = " ".join(words).encode()
        return "ok" if self.guest.library.contains(text, SETTLE_SECONDS) else "not sent"

    def reboot(self) -> str:
        self.expected_end = "guest-reset"
        return "ok"

    def cut(self) -> None:
        """Stop the machine as a loss of power does."""
        self.expected_end = ""
        self.guest.cut_power()
