"""Live boards for tests: a board, its server, and pages that are no browser."""

import base64
import contextlib
import json
import os
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time

LAUNCHER = os.environ["LAUNCHER"]
GUEST = os.environ["GUEST"]
PATIENCE_S = 60

# A sanitizer's library has to come before the simulator's. The shells of some tests leak.
SANITIZED = {"LD_PRELOAD": os.environ["PRELOADED_FIRST"], "ASAN_OPTIONS": "detect_leaks=0:quarantine_size_mb=1"} \
    if os.environ.get("PRELOADED_FIRST") else {}

FRAME, SOUND, CONSOLE, LOG, EVENTS = range(1, 6)


def await_that(is_so, what):
    """Waits for something that comes without an event of its own, such as the content of a file."""
    end = time.monotonic() + PATIENCE_S
    while time.monotonic() < end:
        result = is_so()
        if result:
            return result
        time.sleep(0.02)
    raise AssertionError(f"not seen within {PATIENCE_S} s: {what}")


def launch(*words):
    return subprocess.run([LAUNCHER, *words], check=True, capture_output=True).stdout


class LiveBoard:
    """A board in a directory of its own, with a server that may be started again."""

    def __init__(self, *, size=None, card="0", options=()):
        self.directory = tempfile.mkdtemp(prefix="live-board-")
        self.path = os.path.join(self.directory, "desk")
        launch("new", self.path, "--card", card, *(("--size", size) if size else ()), *options)
        self.server = None

    def start(self, *application, options=()):
        command = [LAUNCHER, "panel", self.path, *options]
        self.server = subprocess.Popen(command + (["--", *application] if application else []), cwd=self.directory,
                                       env={**os.environ, **SANITIZED},
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.address = self.server.stdout.readline().strip()
        self.host, self.token = self.address.removeprefix("http://").split("/#")
        self.port = int(self.host.rsplit(":", 1)[1])
        return self.address

    def end(self, number=signal.SIGINT):
        self.server.send_signal(number)
        with self.server.stdout:
            return self.server.wait(PATIENCE_S)

    def close(self):
        if self.server is not None and self.server.poll() is None:
            self.end(signal.SIGKILL)
        await_that(self.is_at_rest, "the end of the application")
        shutil.rmtree(self.directory, ignore_errors=True)

    def is_at_rest(self):
        return not os.path.exists(os.path.join(self.path, "dev/ttyS0.keeper"))

    def file(self, inside):
        return os.path.join(self.path, inside)

    def read(self, inside):
        with contextlib.suppress(FileNotFoundError), open(self.file(inside), "rb") as file:
            return file.read().decode("latin-1")
        return ""

    def write(self, inside, text):
        with open(self.file(inside), "w", encoding="latin-1") as file:
            file.write(text)

    def fill(self, colour):
        """As an application's stores do it."""
        with open(self.file("dev/fb0"), "r+b") as screen:
            size = os.fstat(screen.fileno()).st_size
            screen.write(struct.pack("<H", colour) * (size // 2))

    def memory_kib(self):
        with open(f"/proc/{self.server.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))

    def processor_s(self):
        with open(f"/proc/{self.server.pid}/stat", encoding="latin-1") as stat:
            fields = stat.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), PATIENCE_S)

    def ask(self, request):
        """The whole answer to bytes, until the server closes the connection."""
        with self.connect() as connection:
            connection.sendall(request)
            answer = b""
            with contextlib.suppress(ConnectionResetError):
                while part := connection.recv(65536):
                    answer += part
            return answer.decode("latin-1")

    def page(self, **changes):
        return Page(self, **changes)


class Page:
    """A web socket, spoken by hand."""

    def __init__(self, board, token=None, headers=()):
        self.socket = board.connect()
        key = base64.b64encode(os.urandom(16)).decode()
        lines = [f"GET /live?token={token if token is not None else board.token} HTTP/1.1", f"Host: {board.host}",
                 "Connection: Upgrade", "Upgrade: websocket", "Sec-WebSocket-Version: 13",
                 f"Sec-WebSocket-Key: {key}", *headers]
        self.socket.sendall(("\r\n".join(lines) + "\r\n\r\n").encode())
        self.buffer = b""
        self.texts = {CONSOLE: "", LOG: "", EVENTS: ""}
        while b"\r\n\r\n" not in self.buffer:
            part = self.socket.recv(65536)
            if not part:
                break
            self.buffer += part
        head, _, self.buffer = self.buffer.partition(b"\r\n\r\n")
        self.status = int(head.split()[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def _take(self, count):
        while len(self.buffer) < count:
            part = self.socket.recv(1 << 20)
            if not part:
                raise ConnectionError("closed")
            self.buffer += part
        taken, self.buffer = self.buffer[:count], self.buffer[count:]
        return taken

    def send(self, text, kind=1):
        data = text.encode()
        mask = os.urandom(4)
        length = bytes([0x80 | len(data)]) if len(data) < 126 else b"\xfe" + struct.pack(">H", len(data))
        masked = bytes(byte ^ mask[i % 4] for i, byte in enumerate(data))
        self.socket.sendall(bytes([0x80 | kind]) + length + mask + masked)

    def receive(self):
        """The next message: a dictionary, or bytes. Frames are acknowledged."""
        while True:
            kind, length = self._take(2)
            if length == 126:
                length = struct.unpack(">H", self._take(2))[0]
            elif length == 127:
                length = struct.unpack(">Q", self._take(8))[0]
            data = self._take(length)
            if kind & 15 == 9:
                self.send(data.decode("latin-1"), 10)
            if kind & 15 == 8:
                raise ConnectionError("closed by the server")
            if kind & 15 == 1:
                return json.loads(data)
            if kind & 15 == 2:
                if data[0] == FRAME:
                    self.send("seen")
                if data[0] in self.texts:
                    self.texts[data[0]] += data[2:].decode("latin-1")
                return data

    def await_kind(self, kind):
        while True:
            message = self.receive()
            found = message["kind"] if isinstance(message, dict) else message[0]
            if found == kind:
                return message

    def await_both(self, first, second):
        """The next of two kinds, in whatever order they come."""
        found = {}
        while len(found) < 2:
            message = self.receive()
            kind = message["kind"] if isinstance(message, dict) else message[0]
            if kind in (first, second):
                found[kind] = message
        return found[first], found[second]

    def await_text(self, kind, text):
        """Until a followed file has had this text, since the last one that was awaited of it."""
        while text not in self.texts[kind]:
            self.receive()
        self.texts[kind] = self.texts[kind].partition(text)[2]
