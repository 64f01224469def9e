"""Renews the pictures of docs/live-board.md: pictures.py LAUNCHER DASHCAM FILES DIRECTORY."""

import os
import shutil
import sys
import time

os.environ["LAUNCHER"], application, files, target = sys.argv[1:]
os.environ["GUEST"] = ""

from live_board import LiveBoard, await_that, launch  # noqa: E402
from page_test import start_browser  # noqa: E402


def show(browser, board, width, height):
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                            {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 600})
    browser.get("about:blank")
    browser.get(board.address)
    await_that(lambda: "screen home" in browser.find_element("id", "console").text, "the home screen")
    time.sleep(1)  # for the moving parts of the screen


board = LiveBoard(card="256")
browser = start_browser()
try:
    shutil.copytree(files, board.path, dirs_exist_ok=True)
    launch("set", board.path, "accel=140,70,990", "temperature=41.5")
    board.start(application, "--screen", "home", "--stay", "--time", "14:32:08")
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                            {"features": [{"name": "prefers-color-scheme", "value": "dark"}]})
    show(browser, board, 1280, 800)
    browser.save_screenshot(os.path.join(target, "live-board.png"))
    show(browser, board, 390, 844)
    browser.save_screenshot(os.path.join(target, "live-board-phone.png"))
finally:
    browser.quit()
    board.close()
