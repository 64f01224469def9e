"""The live board's page, in a real browser."""

import base64
import io
import math
import os
import signal
import struct
import subprocess
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.select import Select

from live_board import GUEST, LiveBoard, await_that, launch

TONE_HZ = 1000


def start_browser():
    options = webdriver.ChromeOptions()
    for argument in ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"]:
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


class PageTest(unittest.TestCase):
    options = ()

    @classmethod
    def setUpClass(cls):
        cls.home = tempfile.TemporaryDirectory(prefix="live-board-browser-")
        os.environ["HOME"] = cls.home.name
        cls.browser = start_browser()
        cls.addClassCleanup(cls.home.cleanup)
        cls.addClassCleanup(cls.browser.quit)

    def setUp(self):
        self.board = LiveBoard(options=self.options, card="64")
        self.addCleanup(self.board.close)
        self.board.start(GUEST)
        self.set_size(1280, 800)
        self.browser.get_log("browser")
        self.show()
        self.addCleanup(self.browser.get, "about:blank")
        self.await_console("guest ready")

    def show(self):
        self.browser.get("about:blank")
        self.browser.get(self.board.address)

    def tearDown(self):
        if not self.may_lose_server:
            self.assertEqual([entry for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"], [])

    may_lose_server = False

    def set_size(self, width, height, **media):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": name.replace("_", "-"), "value": value} for name, value in media.items()]})

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def script(self, text, *arguments):
        return self.browser.execute_script(text, *arguments)

    def await_console(self, text):
        await_that(lambda: text in self.find("#console").text, f"'{text}' on the console")

    def order(self, command):
        """A command typed on the console, carried out by the application."""
        done = self.find("#console").text.count(f"done {command}")
        self.find("#console").send_keys(command + Keys.ENTER)
        await_that(lambda: self.find("#console").text.count(f"done {command}") > done, f"the end of {command}")

    def move(self, name, value):
        """As a hand moves a slider or fills a field."""
        self.script("""const input = document.querySelector(`[name="${arguments[0]}"]`);
            input.value = arguments[1]; input.dispatchEvent(new Event("input", { bubbles: true }));""", name, value)

    def read_inputs(self, wanted):
        """What the application reads through the library, once it is as wanted."""
        def is_read():
            self.order("read")
            return wanted in self.find("#console").text
        await_that(is_read, wanted)

    def canvas(self):
        data = self.script("""const c = document.querySelector("canvas#screen");
            const pixels = c.getContext("2d").getImageData(0, 0, c.width, c.height).data;
            let text = ""; for (let i = 0; i < pixels.length; i += 4096)
              text += String.fromCharCode(...pixels.subarray(i, i + 4096));
            return [c.width, c.height, btoa(text)];""")
        return data[0], data[1], base64.b64decode(data[2])

    def shot(self):
        return self.pixels_of(launch("shot", self.board.path, "-"))

    def pixels_of(self, png):
        """The same of a PNG file, by another reader."""
        ppm = subprocess.run(["pngtopnm"], input=png, capture_output=True, check=True).stdout
        stream = io.BytesIO(ppm)
        self.assertEqual(stream.readline(), b"P6\n")
        width, height = map(int, stream.readline().split())
        stream.readline()
        rgb = stream.read()
        rgba = bytearray(b"\xff" * (width * height * 4))
        for channel in range(3):
            rgba[channel::4] = rgb[channel::3]
        return width, height, bytes(rgba)

    def expect_screen(self):
        await_that(lambda: self.canvas() == self.shot(), "the board's screen on the canvas")


class Screen(PageTest):
    def test_canvas_has_the_pixels_of_the_board(self):
        self.order("pattern")
        self.expect_screen()
        self.order("fill 07e0")
        self.expect_screen()
        self.assertEqual(self.canvas()[2][:4], b"\0\xff\0\xff")

    def test_blanked_screen_is_black_and_the_backlight_dims(self):
        self.order("fill ffff")
        self.order("dark")
        await_that(lambda: self.canvas()[2][:4] == b"\0\0\0\xff", "a black canvas")
        self.assertIn("blanked", self.find("#backlight").text)
        self.order("light")
        self.expect_screen()
        light = lambda: float(self.script("return document.querySelector('#screen').style.getPropertyValue('--light')"))
        bright = light()
        self.board.write("sys/class/backlight/pwm-backlight.0/brightness", "100\n")
        await_that(lambda: 0 < light() < bright, "a dimmed screen")
        self.board.write("sys/class/backlight/pwm-backlight.0/bl_power", "4\n")
        await_that(lambda: light() == 0, "a dark backlight")

    def test_true_size_and_twice(self):
        self.assertEqual(self.find("#screen").size, {"width": 640, "height": 480})
        self.find("#zoom").click()
        self.assertEqual(self.find("#screen").size, {"width": 1280, "height": 960})

    def test_saved_image_is_the_screen(self):
        self.order("pattern")
        self.expect_screen()
        self.script("""URL.createObjectURL = (blob) => { globalThis.saved = blob; return "#"; };
            document.querySelector("#save").click();""")
        await_that(lambda: self.script("return globalThis.saved !== undefined"), "the PNG")
        png = self.browser.execute_async_script("""const done = arguments[0]; const reader = new FileReader();
            reader.onload = () => done(reader.result.split(",")[1]); reader.readAsDataURL(saved);""")
        self.assertEqual(self.pixels_of(base64.b64decode(png)), self.shot())

    def test_two_pages_show_the_same(self):
        first = self.browser.current_window_handle
        self.browser.switch_to.new_window("window")
        self.show()
        self.await_console("guest ready")
        self.order("pattern")
        self.expect_screen()
        self.browser.close()
        self.browser.switch_to.window(first)
        self.expect_screen()


class OtherScreens(PageTest):
    options = ("--size", "320x200", "--virtual", "400x600", "--depth", "32")

    def test_canvas_has_the_visible_part_of_any_geometry(self):
        with open(self.board.file("dev/fb0"), "r+b") as screen:
            screen.write(bytes((i * 7 + i // 251) & 0xFF for i in range(400 * 4 * 600)))
        self.expect_screen()
        self.board.write("panel", "xoffset=33\nyoffset=250\n")
        self.expect_screen()
        self.assertEqual(self.canvas()[:2], (320, 200))


class Controls(PageTest):
    def test_keys_are_held_while_they_are_held(self):
        for key, line in (("next", 61), ("ok", 62)):
            button = self.find(f"[data-key={key}]")
            ActionChains(self.browser).click_and_hold(button).perform()
            self.await_console(f"line {line} = 1")
            self.assertNotIn(f"line {line} = 0", self.find("#console").text)
            ActionChains(self.browser).release().perform()
            self.await_console(f"line {line} = 0")

    def test_keys_work_by_keyboard(self):
        self.script("document.querySelector('[data-key=ok]').focus()")
        ActionChains(self.browser).key_down(Keys.SPACE).perform()
        self.await_console("line 62 = 1")
        ActionChains(self.browser).key_up(Keys.SPACE).perform()
        self.await_console("line 62 = 0")
        self.script("document.activeElement.blur()")
        ActionChains(self.browser).key_down("n").perform()
        self.await_console("line 61 = 1")
        ActionChains(self.browser).key_up("n").perform()
        self.await_console("line 61 = 0")

    def test_any_line_by_its_name(self):
        for number in (60, 63):
            self.script("document.querySelector(`[name='gpio.${arguments[0]}']`).click()", number)
            self.await_console(f"line {number} = 1")
        launch("set", self.board.path, "gpio.63=0")
        await_that(lambda: not self.find("[name='gpio.63']").is_selected(), "a switch that follows the board")

    def test_sliders_reach_the_application(self):
        self.move("accel.x", 250)
        self.move("accel.y", -500)
        self.move("accel.z", 900)
        self.read_inputs("accel 250 -500 900 ")
        for channel, code in enumerate((1, 463, 1023, 700)):
            self.move(f"adc.{channel}", code)
        self.read_inputs("adc 1 463 1023 700 temperature 30007")
        self.move("temperature", "41.5")
        await_that(lambda: self.find("#temperature-value").text.startswith("41."), "the temperature in degrees")
        self.read_inputs("temperature 41")
        self.assertIn("(0x2bc)", self.find("#adc3-value").text)

    def test_puck_moves_the_car_and_a_hit_returns_to_rest(self):
        ActionChains(self.browser).move_to_element_with_offset(self.find("#pad"), 30, 20).click().perform()
        moved = await_that(lambda: [self.find(f"[name='accel.{axis}']").get_attribute("value") for axis in "xy"],
                           "the fields")
        self.assertGreater(int(moved[0]), 200)
        self.assertLess(int(moved[1]), -100)
        self.read_inputs(f"accel {int(moved[0]) // 100}")
        self.find("#rest").click()
        self.read_inputs("accel 0 0 1000 ")
        self.script("""globalThis.seen = []; const y = document.querySelector("[name='accel.y']");
            setInterval(() => seen.push(y.value), 10); document.querySelector("#hit").click();""")
        await_that(lambda: self.script("return seen.some((y) => Math.abs(y) > 1000)"), "the shock")
        await_that(lambda: self.find("[name='accel.y']").get_attribute("value") == "0", "the rest after it")
        self.read_inputs("accel 0 0 1000 ")

    def test_sockets(self):
        self.find("[name=hdmi]").click()
        self.read_inputs("hdmi 1")
        Select(self.find("[name=card]")).select_by_value("out")
        self.await_card("mount of a removed card", "Unmount")
        self.find("#mount").click()
        self.await_card("no memory card", "Mount")
        self.read_inputs("card 0")
        self.assertFalse(self.find("#mount").is_enabled())
        Select(self.find("[name=card]")).select_by_value("locked")
        self.await_card("not mounted", "Mount")
        self.find("#mount").click()
        self.await_card("mounted read-only", "Unmount")

    def await_card(self, state, action):
        await_that(lambda: (self.find("#card-state").text, self.find("#mount").text) == (state, action), "the card's state")

    def test_led_has_its_colour(self):
        self.order("green")
        await_that(lambda: self.find("[data-led]").get_attribute("data-led") == "green", "a green LED")

    def test_faults_switch(self):
        fault = self.find("[name='fault.open./dev/fb0']")
        Select(fault.find_element(By.XPATH, "./ancestor::li//select")).select_by_value("EACCES")
        fault.click()
        await_that(lambda: "open /dev/fb0 EACCES\n" in self.board.read("faults"), "the order of a fault")
        self.find("#console").send_keys("end 3" + Keys.ENTER)
        await_that(lambda: "ended with status 3" in self.find("#status").text, "the end of the application")
        self.find("#start").click()
        await_that(lambda: "ended with status 1" in self.find("#status").text, "the failure of fb_init()")
        fault.click()
        await_that(lambda: "EACCES" not in self.board.read("faults"), "the end of the fault")
        self.find("#start").click()
        await_that(lambda: "running" in self.find("#status").text, "the application again")


class Texts(PageTest):
    def test_console_takes_typing(self):
        self.find("#console").send_keys("fill 1f" + Keys.BACKSPACE + Keys.ENTER)
        self.await_console("done fill 1")

    def test_lists_follow_are_filtered_and_stop(self):
        self.order("green")
        await_that(lambda: "led: green" in self.find("#events").text, "an event")
        await_that(lambda: "done green" in self.find("#log").text, "a line of the log")
        self.find("[data-filter=events]").send_keys("led:")
        lines = self.find("#events").text.splitlines()
        self.assertTrue(lines and all("led:" in line for line in lines), lines)
        self.find("[data-filter=events]").clear()
        self.find("[data-filter=events]").send_keys(" " + Keys.BACKSPACE)
        self.find("[data-stop=log]").click()
        self.order("fill 7")
        await_that(lambda: "ttyS0: done fill 7" in self.find("#events").text, "the event")
        self.assertNotIn("done fill 7", self.find("#log").text)
        self.find("[data-stop=log]").click()
        await_that(lambda: "done fill 7" in self.find("#log").text, "the rest of the log")


class Heard(PageTest):
    def test_analyser_shows_the_tone_that_is_played(self):
        tone = os.path.join(self.board.directory, "tone.pcm")
        with open(tone, "wb") as file:
            for i in range(48000 * 3):
                file.write(struct.pack("<h", round(8000 * math.sin(2 * math.pi * TONE_HZ * i / 48000))))
        self.find("#listen").click()
        self.script("""globalThis.peaks = []; const bins = new Float32Array(1024);
            setInterval(() => { const a = liveBoard.sound.analyser; if (!a) return;
              a.getFloatFrequencyData(bins); const top = bins.indexOf(Math.max(...bins));
              if (bins[top] > -40) peaks.push(top * 48000 / a.fftSize); }, 20);""")
        for _ in range(2):  # one sound after the other
            self.find("#console").send_keys(f"play {tone}" + Keys.ENTER)
        peaks = await_that(lambda: (p := self.script("return peaks")) and len(p) > 20 and p, "a tone")
        near = [peak for peak in peaks if abs(peak - TONE_HZ) < 50]
        self.assertGreater(len(near), len(peaks) * 0.8, peaks)
        await_that(lambda: float(self.find("#level").get_attribute("value")) > -40, "the level")
        self.assertIn("dB", self.find("#volume").text)


class Reconnects(PageTest):
    may_lose_server = True

    def test_after_the_server_was_killed(self):
        self.board.end(signal.SIGKILL)
        await_that(lambda: "no connection" in self.find("#status").text, "the loss")
        await_that(self.board.is_at_rest, "the end of the application")
        self.board.start(GUEST)
        await_that(lambda: "running" in self.find("#status").text, "the server again")
        self.await_console("guest ready")
        self.order("pattern")
        self.expect_screen()

    def test_after_the_application_was_killed(self):
        pid = subprocess.run(["pgrep", "-P", str(self.board.server.pid)], capture_output=True, text=True,
                             check=True).stdout.split()
        for each in pid:
            os.kill(int(each), signal.SIGKILL)
        await_that(lambda: "ended with status 137" in self.find("#status").text, "the end")
        self.find("#start").click()
        await_that(lambda: "running" in self.find("#status").text, "the application again")


class ForeignPage(PageTest):
    may_lose_server = True  # its failure to connect is an error on the browser's console

    def test_cannot_connect_though_it_has_the_token(self):
        self.browser.get("data:text/html,a page of somebody else")
        outcome = self.browser.execute_async_script("""const [url, done] = arguments; const socket = new WebSocket(url);
            socket.onopen = () => done("open"); socket.onerror = () => done("refused");""",
            f"ws://{self.board.host}/live?token={self.board.token}")
        self.assertEqual(outcome, "refused")


class Layout(PageTest):
    def size(self):
        return self.script("const e = document.documentElement; return [e.scrollWidth, e.scrollHeight]")

    def test_fits_without_scrolling(self):
        self.assertEqual(self.size(), [1280, 800])

    def test_phone_has_no_horizontal_scrolling(self):
        for width in (360, 390):
            self.set_size(width, 800)
            self.assertLessEqual(self.size()[0], self.script("return document.documentElement.clientWidth"))

    def test_every_control_has_a_name(self):
        unnamed = self.script("""return [...document.querySelectorAll("button, input, select, [role], meter")].filter((e) =>
            !(e.textContent.trim() || e.getAttribute("aria-label") || e.getAttribute("aria-labelledby") || e.labels?.length
              || e.id === "message")).map((e) => e.outerHTML);""")
        self.assertEqual(unnamed, [])

    def test_texts_have_contrast_in_the_dark_and_in_the_light(self):
        for scheme in ("dark", "light"):
            self.set_size(1280, 800, prefers_color_scheme=scheme)
            weak = self.script("""
                const light = (c) => { const f = (v) => (v /= 255) <= 0.03928 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4;
                  return 0.2126 * f(c[0]) + 0.7152 * f(c[1]) + 0.0722 * f(c[2]); };
                const parse = (text) => text.match(/[\\d.]+/g).map(Number);
                const ground = (e) => { for (; e; e = e.parentElement) {
                  const c = parse(getComputedStyle(e).backgroundColor); if (c.length < 4 || c[3] > 0) return c; }
                  return [255, 255, 255]; };
                return [...document.querySelectorAll("body *")].filter((e) => e.checkVisibility() &&
                  [...e.childNodes].some((n) => n.nodeType === 3 && n.textContent.trim())).map((e) => {
                    const [a, b] = [light(parse(getComputedStyle(e).color)), light(ground(e))];
                    return [(Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05), e.outerHTML.slice(0, 80)];
                  }).filter(([ratio]) => ratio < 4.5);""")
            self.assertEqual(weak, [], scheme)


if __name__ == "__main__":
    unittest.main(verbosity=2)
