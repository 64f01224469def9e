"""What the simulated board shows and answers, for comparison with a virtual machine."""

import collections.abc
import os
import pathlib
import re
import shutil
import subprocess

import archive

Path = pathlib.Path

CARD_MIB = 64
RECORDING_BYTES = 1000000
HEADING = "\n## Differences from a kernel\n"
PROBE = "probe: "  # before each answer
ENVIRONMENT = {**os.environ, "TZ": "UTC"}  # the time zone of the guests: the list of recordings shows local times
UNLIKE = {"system"}  # shows the kernel and the network addresses


def record_board(build: Path, run: Path) -> tuple[Path, Path]:
    """Return the image of a card with recordings, and the directory with what the simulated board shows and answers:
    `SCREEN.raw` for each screen of the demonstration, and `probe.txt`. `build` is a build for the host."""
    card, expected = run / "recorded.img", run / "expected"
    expected.mkdir()
    board = run / "simulated"
    simulator = str(build / "bin/dravik-sim")
    call(simulator, "new", str(board), "--card", str(CARD_MIB))
    shutil.copytree(build / "share/dashcam/usr", board / "usr", dirs_exist_ok=True)
    record(board / "tmp/mmcblk0p1/REC")
    for screen in screens(build):
        call(simulator, "run", str(board), "--", str(build / "bin/dashcam"), *options(screen))
        shutil.copy(board / "dev/fb0", expected / f"{screen}.raw")
    call(simulator, "card", str(board), "umount")
    subprocess.run(["cp", "--sparse=always", board / "dev/mmcblk0", card], check=True)
    call(simulator, "card", str(board), "mount")
    (expected / "probe.txt").write_text("".join(probe(simulator, board, str(build / "bin/board_probe"))))
    return card, expected


def probe(simulator: str, board: Path, program: str) -> collections.abc.Iterator[str]:
    """Yield the answers of the probe on a simulated board, and move its card as requested."""
    actions = {"@@remove": "out", "@@insert": "in"}
    with subprocess.Popen([simulator, "run", str(board), "--", program], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          text=True, env=ENVIRONMENT) as running:
        for line in running.stdout:
            if line.startswith(PROBE):
                yield line.removeprefix(PROBE)
            elif line.strip() in actions:
                call(simulator, "card", str(board), actions[line.strip()])
                print("ok", file=running.stdin, flush=True)
    if running.returncode != 0:
        raise RuntimeError(f"{program}: exit status {running.returncode}")


def call(*command: str) -> str:
    finished = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, env=ENVIRONMENT)
    if finished.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: exit status {finished.returncode}\n{finished.stderr}")
    return finished.stdout


def record(directory: Path) -> None:
    """Put recordings on a mounted card, with times that a FAT file system keeps."""
    directory.mkdir()
    for name, minute in (("KVX00112.TS", 12), ("KVX00115.TS", 15), ("KVX00118.TS", 18), ("EMA00015.TS", 16)):
        path = directory / name
        path.write_bytes(bytes(RECORDING_BYTES))
        seconds = 1749911520 + 60 * minute
        os.utime(path, (seconds, seconds))


def screens(build: Path) -> list[str]:
    listed = call(str(build / "bin/dashcam"), "--list").splitlines()
    return [name for line in listed if (name := line.split()[0]) not in UNLIKE]


def options(screen: str) -> list[str]:
    return ["--screen", screen, "--time", "14:32:08"]


def add_files(tree: archive.Tree, expected: Path, build: Path) -> None:
    """Give the guest the demonstration's files, and the list of its screens."""
    tree.text("etc/screens", "".join(f"{path.stem}\n" for path in sorted(expected.glob("*.raw"))))
    tree.directory("usr/local/dravik", build / "share/dashcam/usr/local/dravik")


def listed_differences(page: str) -> set[str]:
    """Return the answers that a page of the documentation lists as different from a kernel's."""
    section = page.partition(HEADING)[2].partition("\n## ")[0]
    return set(re.findall(r"^\| `([^`]+)` \|", section, re.MULTILINE))


def compare(simulated: list[str], kernel: list[str], listed: set[str]) -> list[str]:
    """Return the answers that differ without being listed, and those that are listed without being different."""
    ours, theirs = answers_of(simulated), answers_of(kernel)
    different = {name for name in ours.keys() | theirs.keys() if ours.get(name) != theirs.get(name)}
    return [f"{name} (simulated board: {ours.get(name)}; kernel: {theirs.get(name)}; "
            f"{'listed' if name in listed else 'not listed'})" for name in sorted(different ^ listed)]


def answers_of(lines: list[str]) -> dict[str, str]:
    return dict(line.split(": ", 1) for line in lines)
