"""The server of live boards, without a browser."""

import os
import re
import signal
import struct
import subprocess
import unittest

from live_board import CONSOLE, EVENTS, FRAME, GUEST, LOG, PATIENCE_S, SOUND, LiveBoard, await_that, launch

IS_EMULATED = "DRAVIK_EMULATED" in os.environ
NEEDS_SHELL = unittest.skipIf(IS_EMULATED, "qemu-user loads no preload library for ARM into programs of the host")


def pixels_of(frame):
    """Each rectangle of a frame as (x, y, width, height, bytes)."""
    _, depth, width, height, _, _ = struct.unpack_from("<BBHHHI", frame)
    at = 12
    parts = []
    while at < len(frame):
        x, y, columns, lines = struct.unpack_from("<HHHH", frame, at)
        size = columns * lines * depth
        parts.append((x, y, columns, lines, frame[at + 8:at + 8 + size]))
        at += 8 + size
    return width, height, depth, parts


class ServerTest(unittest.TestCase):
    def setUp(self):
        self.board = LiveBoard(size="64x48")
        self.addCleanup(self.board.close)


class Requests(ServerTest):
    def setUp(self):
        super().setUp()
        self.board.start()

    def expect_refusal(self, request, status, reason):
        head, _, body = self.board.ask(request).partition("\r\n\r\n")
        self.assertEqual(head.split()[1], str(status), request[:80])
        self.assertEqual(body, reason + "\n")

    def get(self, target="/", *headers, method="GET"):
        lines = [f"{method} {target} HTTP/1.1", *(headers or [f"Host: {self.board.host}"])]
        return ("\r\n".join(lines) + "\r\n\r\n").encode()

    def test_serves_the_page_under_a_policy_without_inline_script(self):
        answer = self.board.ask(self.get("/", f"Host: {self.board.host}", "Connection: close"))
        head, _, body = answer.partition("\r\n\r\n")
        self.assertIn(" 200 ", head.splitlines()[0])
        policy = re.search(r"Content-Security-Policy: (.*)", head)[1]
        self.assertIn("default-src 'none'", policy)
        self.assertNotIn("unsafe", policy)
        self.assertIn('<canvas id="screen"', body)
        self.assertNotRegex(body, r"(?i)<script(?![^>]*src=)|\son\w+=|https?://")

    def test_serves_every_file_that_the_page_names(self):
        seen, waiting = set(), {"/"}
        while waiting - seen:
            path = (waiting - seen).pop()
            seen.add(path)
            answer = self.board.ask(self.get(path, f"Host: {self.board.host}", "Connection: close"))
            self.assertIn(" 200 ", answer.splitlines()[0], path)
            waiting |= set(re.findall(r'"(/[\w.]+\.(?:js|css|svg))"', answer))
        self.assertGreater(len(seen), 10)

    def test_refuses_foreign_hosts(self):
        reason = "Host is not the address of this page"
        for host in ["evil.example", f"evil.example:{self.board.port}", "127.0.0.1", "127.0.0.1:1", "",
                     f"127.0.0.1.evil.example:{self.board.port}", f"[::1]x:{self.board.port}"]:
            self.expect_refusal(self.get("/", f"Host: {host}"), 421, reason)
        self.expect_refusal(self.get("/", "X: y"), 421, reason)
        self.expect_refusal(self.get("/", f"Host: {self.board.host}", f"Host: {self.board.host}"), 421, reason)

    def test_refuses_foreign_origins(self):
        for origin in ["http://evil.example", "null", f"https://{self.board.host}", f"http://{self.board.host}.evil",
                       f"http://localhost:{self.board.port}"]:
            self.expect_refusal(self.get("/", f"Host: {self.board.host}", f"Origin: {origin}"), 403,
                                "Origin is not this page")
            with self.board.page(headers=[f"Origin: {origin}"]) as page:
                self.assertEqual(page.status, 403)
        with self.board.page(headers=[f"Origin: http://{self.board.host}"]) as page:
            self.assertEqual(page.status, 101)

    def test_refuses_pages_without_the_token(self):
        for token in ["", "0" * 32, self.board.token[:-1], self.board.token + "0", self.board.token.upper() + "x"]:
            with self.board.page(token=token) as page:
                self.assertEqual(page.status, 403, token)
        with self.board.page() as page:
            self.assertEqual(page.status, 101)

    def test_paths_name_nothing_in_the_file_system(self):
        for path in ["/../../../etc/passwd", "/%2e%2e/etc/passwd", "//etc/passwd", "/main.js/..", "/board.conf", "*",
                     "http://evil.example/", "/main.js%00"]:
            self.expect_refusal(self.get(path), 404, "no such page")

    def test_refuses_other_methods(self):
        for method in ["HEAD", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "PATCH"]:
            answer = self.board.ask(self.get(method=method))
            self.assertEqual(answer.split()[1], "405", method)

    def test_refuses_bodies(self):
        for header in ["Content-Length: 1", "Content-Length: 99999999999", "Transfer-Encoding: chunked"]:
            request = self.get("/", f"Host: {self.board.host}", header) + b"5\r\nhello\r\n0\r\n\r\n"
            self.expect_refusal(request, 413, "requests have no body")

    def test_refuses_long_headers(self):
        for request in [b"GET /" + b"a" * 20000 + b" HTTP/1.1\r\n\r\n",
                        self.get("/", f"Host: {self.board.host}", "X: " + "y" * 9000),
                        self.get("/", f"Host: {self.board.host}", *[f"X-{i}: y" for i in range(2000)])]:
            self.expect_refusal(request, 431, "header too long")

    def test_refuses_what_is_no_request(self):
        for request in [b"hello\r\n\r\n", b"GET\r\n\r\n", b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03",
                        b"GET / HTTP/9.9\r\n\r\n", b"GET / HTTP/1.1\r\nHost\r\n\r\n",
                        self.get("/", f"Host: {self.board.host}", "Content-Length: x")]:
            self.expect_refusal(request, 400, "not an HTTP request")

    def test_live_is_only_a_web_socket(self):
        self.expect_refusal(self.get("/live"), 400, "only /live is a web socket")
        self.expect_refusal(self.get("/", f"Host: {self.board.host}", "Connection: Upgrade", "Upgrade: websocket"), 400,
                            "only /live is a web socket")

    def test_refuses_invalid_commands(self):
        before = self.board.read("faults")
        with self.board.page() as page:
            for command in ["", "dance", "set", "fault", "fault on open", "fault on # x", "fault on a b c d",
                            "fault maybe open sound EIO", "fault on open x\ny"]:
                page.send(command)
                self.assertEqual(page.await_kind("error")["text"], "invalid command", command)
            page.send("set accel=1,2")
            self.assertIn("invalid 'accel=1,2'", page.await_kind("error")["text"])
            page.send("type x")
            self.assertIn("no application has the serial port open", page.await_kind("error")["text"])
        self.assertEqual(self.board.read("faults"), before)

    def test_ends_pages_with_long_commands(self):
        with self.board.page() as page:
            page.send("set " + "x" * 9000)
            with self.assertRaises(ConnectionError):
                while True:
                    page.receive()
        with self.board.page() as page:
            self.assertEqual(page.status, 101)


class Frames(ServerTest):
    def setUp(self):
        super().setUp()
        self.board.start()

    def test_first_frame_is_the_whole_screen(self):
        self.board.fill(0x1234)
        with self.board.page() as page:
            width, height, depth, parts = pixels_of(page.await_kind(FRAME))
        self.assertEqual((width, height, depth), (64, 48, 2))
        self.assertEqual(parts, [(0, 0, 64, 48, b"\x34\x12" * 64 * 48)])

    def test_later_frames_are_what_changed(self):
        with self.board.page() as page:
            page.await_kind(FRAME)
            with open(self.board.file("dev/fb0"), "r+b", buffering=0) as screen:
                screen.seek(10 * 128 + 6)
                screen.write(b"\xff\xff")
            parts = pixels_of(page.await_kind(FRAME))[3]
        self.assertEqual([part[:4] for part in parts], [(0, 10, 64, 1)])
        self.assertEqual(parts[0][4], b"\0" * 6 + b"\xff\xff" + b"\0" * 120)

    def test_blanked_screen_is_black(self):
        self.board.fill(0xFFFF)
        with self.board.page() as page:
            page.await_both(FRAME, "state")
            self.board.write("panel", "blank=1\n")
            frame, state = page.await_both(FRAME, "state")
        self.assertEqual(pixels_of(frame)[3][0][4], b"\0" * 64 * 48 * 2)
        self.assertTrue(state["screen"]["blank"])

    def test_missing_screen_is_reported_and_found_again(self):
        with self.board.page() as page:
            page.await_kind(FRAME)
            os.rename(self.board.file("dev/fb0"), self.board.file("dev/elsewhere"))
            self.assertIn("dev/fb0", page.await_kind("screen")["error"])
            os.rename(self.board.file("dev/elsewhere"), self.board.file("dev/fb0"))
            self.assertEqual(page.await_kind("screen")["error"], "")

    def test_other_geometries_and_depths(self):
        for options in [("--size", "100x30", "--virtual", "128x90"), ("--size", "64x48", "--depth", "24"),
                        ("--size", "70x20", "--depth", "32")]:
            with self.subTest(options):
                other = LiveBoard(options=options)
                self.addCleanup(other.close)
                other.start()
                columns, lines = map(int, options[1].split("x"))
                with other.page() as page:
                    width, height, depth, parts = pixels_of(page.await_kind(FRAME))
                self.assertEqual((width, height), (columns, lines))
                self.assertEqual(sum(len(part[4]) for part in parts), columns * lines * depth)

    def test_nothing_is_sent_while_nothing_changes(self):
        with self.board.page() as page:
            page.await_kind(EVENTS if self.board.read("events") else FRAME)
            page.send("set gpio.60=1")
            while page.await_kind("state")["gpio"].get("60") != 1:
                pass
            page.send("dance")  # its answer comes after all that was due
            page.await_kind("error")
            page.socket.settimeout(1)
            with self.assertRaises(TimeoutError):
                page.receive()


class Application(ServerTest):
    def test_runs_again_after_a_reboot_and_on_request(self):
        self.board.start(GUEST)
        with self.board.page() as page:
            self.assertEqual(page.await_kind("application")["state"], "running")
            page.await_text(CONSOLE, "guest ready")
            page.send("type reboot\r")
            state = page.await_kind("application")["state"]
            if not IS_EMULATED or state == "restarting":  # no pause follows a run of more than half a second
                self.assertEqual(state, "restarting")
                state = page.await_kind("application")["state"]
            self.assertEqual(state, "running")
            page.await_text(CONSOLE, "guest ready")
            page.send("type end 7\r")
            ended = page.await_kind("application")
            self.assertEqual((ended["state"], ended["status"], ended["name"]), ("ended", 7, os.path.basename(GUEST)))
            page.send("start")
            self.assertEqual(page.await_kind("application")["state"], "running")
            page.await_text(CONSOLE, "guest ready")

    @NEEDS_SHELL
    def test_reports_the_signal_of_a_killed_application(self):
        self.board.start("sh", "-c", "kill -9 $$")
        with self.board.page() as page:
            while (report := page.await_kind("application"))["state"] != "ended":
                pass
            self.assertEqual(report["status"], 128 + 9)

    def test_ctrl_c_ends_the_application_and_the_page(self):
        self.board.start(GUEST)
        with self.board.page() as page:
            page.await_text(CONSOLE, "guest ready")
            self.assertEqual(self.board.end(signal.SIGINT), 0)
            await_that(lambda: "ending 0" in self.board.read("console"), "the end of the application")
            with self.assertRaises(ConnectionError):
                while True:
                    page.receive()

    @NEEDS_SHELL
    def test_ends_an_application_that_ignores_signals(self):
        self.board.start("sh", "-c", "trap '' INT TERM; echo deaf >tmp-deaf; while :; do sleep 1; done")
        await_that(lambda: os.path.exists(os.path.join(self.board.directory, "tmp-deaf")), "the application")
        self.board.server.send_signal(signal.SIGINT)
        self.assertEqual(self.board.end(signal.SIGINT), 0)

    def test_application_ends_with_a_server_that_is_killed(self):
        self.board.start(GUEST)
        with self.board.page() as page:
            page.await_text(CONSOLE, "guest ready")
        self.board.end(signal.SIGKILL)
        await_that(lambda: "ending 0" in self.board.read("console"), "the end of the application")

    def test_address_is_the_same_after_a_restart(self):
        first = self.board.start()
        self.assertRegex(first, r"^http://127\.0\.0\.1:\d+/#[0-9a-f]{32}$")
        self.board.end(signal.SIGKILL)
        self.assertEqual(self.board.start(), first)

    def test_token_of_another_directory_or_of_an_open_file_is_not_used(self):
        first = self.board.start()
        self.board.end()
        os.chmod(self.board.file("panel.access"), 0o644)
        second = self.board.start()
        self.board.end()
        self.assertNotEqual(first.split("#")[1], second.split("#")[1])
        self.assertEqual(os.stat(self.board.file("panel.access")).st_mode & 0o777, 0o600)
        subprocess.run(["cp", "-a", self.board.path, self.board.path + "-copy"], check=True)
        os.rename(self.board.path, self.board.path + "-first")
        os.rename(self.board.path + "-copy", self.board.path)
        self.assertNotEqual(self.board.start().split("#")[1], second.split("#")[1])


class Files(ServerTest):
    def setUp(self):
        super().setUp()
        self.board.start(GUEST)

    def test_texts_and_sound_are_followed(self):
        with self.board.page() as page:
            page.await_text(CONSOLE, "guest ready")
            page.send("type green\r")
            page.await_text(LOG, "done green")
            page.await_text(EVENTS, "led: green")
            tone = os.path.join(self.board.directory, "tone.pcm")
            with open(tone, "wb") as file:
                file.write(struct.pack("<h", 1000) * 24000)
            page.send("sound on")
            page.send(f"type play {tone}\r")
            samples = page.await_kind(SOUND)[4:]
            self.assertEqual(len(samples) % 4, 0)
            self.assertEqual(samples[:4], struct.pack("<hh", 1000, 1000))

    def test_emptied_file_begins_again(self):
        with self.board.page() as page:
            page.await_text(EVENTS, "guest ready")
            self.board.write("events", "")
            while page.await_kind(EVENTS)[1] != 1:
                pass
            page.send("type green\r")
            page.await_text(EVENTS, "led: green")


class Inputs(unittest.TestCase):
    VALUES = {"accel": "accel=10,20,30", "adc": "adc.2=0x100", "card": "card=out", "gpio": "gpio.7=1", "hdmi": "hdmi=on",
              "temperature": "temperature=20"}

    def setUp(self):
        self.board = LiveBoard(size="64x48", card="64")
        self.addCleanup(self.board.close)
        self.board.start()

    def state_at_rest(self, page, mark):
        """The state after the server has seen that no file was changed lately: then it reads none again without a change
        of those that it watches. A fault marks that state."""
        for directory, _, names in os.walk(self.board.path):
            for name in [".", *names]:
                os.utime(os.path.join(directory, name), (1, 1), follow_symlinks=False)
        self.board.write("faults.new", f"open {mark} EIO\n")
        os.utime(self.board.file("faults.new"), (1, 1))
        os.replace(self.board.file("faults.new"), self.board.file("faults"))
        while True:
            state = page.await_kind("state")
            if state["faults"] == [["open", mark, "EIO"]]:
                return state

    def test_every_input_changes_its_member_of_the_state(self):
        help_text = launch("set", "--help").decode()
        inputs = re.findall(r"^  ([a-z]+)[.=]", help_text, re.MULTILINE)
        self.assertEqual(sorted(inputs), sorted(self.VALUES), "each input has a value in this test")
        for name in inputs:
            with self.board.page() as page:
                page.socket.settimeout(PATIENCE_S)
                before = self.state_at_rest(page, name)
                self.assertIn(name, before, "missing in sim/panel/board_state.cpp")
                launch("set", self.board.path, self.VALUES[name])
                try:
                    while page.await_kind("state")[name] == before[name]:
                        pass
                except TimeoutError:
                    self.fail(f"'{name}': its file is missing in 'watched' of sim/panel/board_state.cpp")


class Load(ServerTest):
    def setUp(self):
        super().setUp()
        self.board.start()

    def test_slow_readers_delay_nobody(self):
        slow = [self.board.page() for _ in range(5)]
        with self.board.page() as page:
            for colour in range(1, 40):
                self.board.fill(colour)
                while pixels_of(page.await_kind(FRAME))[3][0][4][:2] != struct.pack("<H", colour):
                    pass
            for each in slow:
                self.assertEqual(each.status, 101)
                each.socket.close()

    def test_serves_fifty_pages_at_once(self):
        pages = [self.board.page() for _ in range(50)]
        self.board.fill(0xBEEF)
        for page in pages:
            while pixels_of(page.await_kind(FRAME))[3][0][4][:2] != b"\xef\xbe":
                pass
            page.socket.close()
        with self.board.page() as page:
            page.await_kind(FRAME)

    def test_silent_connections_are_dropped_beyond_a_limit(self):
        silent = [self.board.connect() for _ in range(140)]
        silent[-1].settimeout(20)
        self.assertEqual(silent[-1].recv(1), b"")
        for connection in silent:
            connection.close()
        with self.board.page() as page:
            page.await_kind(FRAME)

    def test_memory_does_not_grow_over_ten_thousand_frames(self):
        pages = [self.board.page() for _ in range(20)]
        asleep = self.board.page()

        def show(numbers):
            for number in numbers:
                with open(self.board.file("dev/fb0"), "r+b", buffering=0) as screen:
                    screen.write(struct.pack("<I", number) * 32)
                for page in pages:
                    page.await_kind(FRAME)

        show(range(1, 100))
        before = self.board.memory_kib()
        show(range(100, 600))  # 10,000 frames
        self.assertLess(self.board.memory_kib() - before, 2048)
        for page in [*pages, asleep]:
            page.socket.close()


if __name__ == "__main__":
    unittest.main(verbosity=2)
