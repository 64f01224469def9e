"""Measures the live board: from a store in frame buffer memory to the pixel on the canvas, and processor time.

Started by `scripts/bench --live`. Prints a table in Markdown.
"""

import mmap
import os
import random
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/panel"))

from live_board import CONSOLE, GUEST, LiveBoard, await_that  # noqa: E402
from page_test import start_browser  # noqa: E402

SAMPLES = 100
SAMPLES_AT_REST = 20
FILM_S = 10
REST_S = 10
TURNS = 30
LINE_PIXELS = 640
LINES = 480


class Measurement:
    def __init__(self):
        self.board = LiveBoard(card="0")
        self.board.start()
        self.browser = start_browser()
        self.browser.execute_cdp_cmd("Performance.enable", {})
        self.browser.get(self.board.address)
        await_that(lambda: "no application" in self.browser.find_element("id", "status").text, "the page")
        with open(self.board.file("dev/fb0"), "r+b") as file:
            self.memory = mmap.mmap(file.fileno(), 0)

    def close(self):
        self.browser.quit()
        self.board.close()

    def scripts_s(self):
        """Time of the page's scripts so far."""
        metrics = self.browser.execute_cdp_cmd("Performance.getMetrics", {})["metrics"]
        return next(metric["value"] for metric in metrics if metric["name"] == "ScriptDuration")

    def shares(self, work):
        """Shares of a core while something is done: the server's, the scripts'."""
        server, scripts, begin = self.board.processor_s(), self.scripts_s(), time.monotonic()
        work()
        seconds = time.monotonic() - begin
        return (self.board.processor_s() - server) / seconds, (self.scripts_s() - scripts) / seconds

    def latencies_ms(self, count, shortest_s, longest_s):
        self.browser.execute_script("""const canvas = document.querySelector("#screen");
            const context = canvas.getContext("2d"); globalThis.seen = {};
            canvas.addEventListener("frame", () => { const p = context.getImageData(0, 0, 2, 1).data;
              const key = [...p].join(); seen[key] ??= performance.timeOrigin + performance.now(); });""")
        times = []
        for number in range(1, count + 1):
            time.sleep(random.uniform(shortest_s, longest_s))
            before = set(self.browser.execute_script("return Object.keys(seen)"))
            stored = time.time() * 1000
            self.memory[0:4] = (number * 2654435761 % 2**32).to_bytes(4, "little")

            def shown(known=before):
                seen = self.browser.execute_script("return seen")
                fresh = [when for key, when in seen.items() if key not in known]
                return fresh and max(fresh)
            times.append(await_that(shown, "the pixel") - stored)
        return statistics.median(times), sorted(times)[int(len(times) * 0.9)]

    def film(self):
        self.browser.execute_script("""globalThis.frames = 0;
            document.querySelector("#screen").addEventListener("frame", () => ++globalThis.frames);""")
        images = [bytes([value]) * (LINE_PIXELS * LINES * 2) for value in (0x35, 0xCA)]

        def show():
            begin = time.monotonic()
            for number in range(FILM_S * 30):
                self.memory[:] = images[number % 2]
                time.sleep(max(0, begin + (number + 1) / 30 - time.monotonic()))
        shares = self.shares(show)
        return self.browser.execute_script("return frames") / FILM_S, shares


def drawing_ratio():
    """Processor time of drawing with a page that looks, by that without, in turns; the median of the ratios of
    neighbours, since the speed of a processor wanders."""
    board = LiveBoard(card="0")
    board.start(GUEST)
    times = {True: [], False: []}
    try:
        for turn in range(2 * TURNS):
            with board.page() as page:
                page.await_text(CONSOLE, "guest ready")
                drawn = board.read("console").count("drawn in")
                page.send("type time\r")
                page.send("no command")
                page.await_kind("error")  # what was typed has arrived
                if turn % 2 == 0:
                    while board.read("console").count("drawn in") == drawn:
                        page.receive()
            await_that(lambda: board.read("console").count("drawn in") > drawn, "the end of the drawing")
            times[turn % 2 == 0].append(int(board.read("console").rsplit("drawn in ", 1)[1].split()[0]))
    finally:
        board.close()
    return statistics.median(beside / alone for beside, alone in zip(times[True], times[False]))


def percent(share):
    return f"{share * 100:.1f} %"


def main():
    measured = Measurement()
    try:
        latency, slowest = measured.latencies_ms(SAMPLES, 0.05, 0.3)
        rest_latency, rest_slowest = measured.latencies_ms(SAMPLES_AT_REST, 1.3, 1.6)
        rate, busy = measured.film()
        time.sleep(2)
        quiet = measured.shares(lambda: time.sleep(REST_S))
    finally:
        measured.close()
    ratio = drawing_ratio()
    rows = [
        ("store to canvas, screen in use", f"{latency:.0f} ms (90 %: {slowest:.0f} ms)", "50 ms"),
        ("store to canvas, screen at rest before", f"{rest_latency:.0f} ms (90 %: {rest_slowest:.0f} ms)", "50 ms"),
        ("frames per second while all pixels change", f"{rate:.1f}", "30"),
        ("core while all pixels change: server", percent(busy[0]), ""),
        ("core while all pixels change: server and scripts", percent(busy[0] + busy[1]), "50 %"),
        ("core while nothing changes: server", percent(quiet[0]), ""),
        ("core while nothing changes: server and scripts", percent(quiet[0] + quiet[1]), "1 %"),
        ("drawing beside a page, by drawing alone", f"{ratio:.3f}", "1.03"),
    ]
    print("| live board, 640x480 | median | target |\n|:---|---:|---:|")
    for row in rows:
        print("| " + " | ".join(row) + " |")


main()
