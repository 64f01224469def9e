"""A virtual machine: the emulator, its two serial ports, and its monitor."""

import json
import pathlib
import queue
import socket
import subprocess
import threading

Path = pathlib.Path

END_SECONDS = 30

COMMON = ["-accel", "tcg", "-m", "512", "-nodefaults", "-no-reboot", "-display", "none"]
EXACT_TIME = ["-icount", "shift=2,sleep=off"]  # the guest's time follows its instructions, whatever the host does

EMULATORS = {
    "amd64": ["qemu-system-x86_64", "-M", "pc", "-cpu", "qemu64"],
    "armhf": ["qemu-system-arm", "-M", "virt,highmem=off,gic-version=2", "-cpu", "cortex-a7"],
}
# The library's port is the first of the 8250 driver, the console another one.
SERIAL_PORTS = {
    "amd64": ["-serial", "chardev:library", "-serial", "chardev:console"],
    "armhf": ["-serial", "chardev:console", "-device", "pci-serial,chardev=library"],
}
# Where the emulated adapter scans out what the kernel's driver puts into its memory.
SCANNED_OUT = {"amd64"}
CONSOLES = {"amd64": "ttyS1", "armhf": "ttyAMA0"}


class Machine:
    def __init__(self, architecture: str, kernel: Path, archive: Path, card: Path, settings: str,
                 exact_time: bool) -> None:
        ends = {name: socket.socketpair() for name in ("library", "console", "monitor")}
        command = EMULATORS[architecture] + COMMON + (EXACT_TIME if exact_time else [])
        for name, (_, theirs) in ends.items():
            command += ["-chardev", f"socket,id={name},fd={theirs.fileno()}"]
        command += SERIAL_PORTS[architecture] + ["-mon", "chardev=monitor,mode=control"]
        command += ["-device", "cirrus-vga", "-device", "sdhci-pci", "-device", "sd-card,id=card,drive=card"]
        command += ["-drive", f"if=none,id=card,format=raw,cache=unsafe,file={card}"]
        # On a busy host, the kernel's check of its timer may fail, and the guest lose the timer for seconds without a
        # fixed tick.
        console = f"console={CONSOLES[architecture]} panic=-1 loglevel=1 no_timer_check nohz=off video=640x480-16"
        command += ["-kernel", str(kernel), "-initrd", str(archive), "-append", f"{console} {settings}"]
        self.is_scanned_out = architecture in SCANNED_OUT
        self.card = card
        passed_on = [theirs.fileno() for _, theirs in ends.values()]
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, pass_fds=passed_on)
        for _, theirs in ends.values():
            theirs.close()
        self.console = Console(ends["console"][0])
        self.library = Console(ends["library"][0])
        self.monitor = Monitor(ends["monitor"][0])

    def panel(self, target: Path) -> bytes:
        """Return the pixels that the panel shows in RGB565, and write them to a file as a PPM image."""
        self.monitor.command("screendump", filename=str(target))
        magic, size, _, pixels = target.read_bytes().split(b"\n", 3)
        return rgb565(pixels)

    def picture(self, target: Path) -> None:
        """Write what the panel shows to a file as a PNG image."""
        self.monitor.command("screendump", filename=str(target), format="png")

    def remove_card(self) -> None:
        self.monitor.command("eject", id="card", force=True)

    def insert_card(self) -> None:
        self.monitor.command("blockdev-change-medium", id="card", filename=str(self.card), format="raw")

    def cut_power(self) -> None:
        self.process.kill()
        self.process.wait()

    def shutdown_reason(self) -> str:
        """Return why the guest ended, after it did; kill it if it does not."""
        reason = self.monitor.shutdown_reason()
        try:
            self.process.wait(END_SECONDS)
        except subprocess.TimeoutExpired:
            self.cut_power()
        return reason


class Console:
    """A serial port of the guest: its text so far, and its lines as they come; None marks the end."""

    def __init__(self, connection: socket.socket) -> None:
        self.connection = connection
        self.text = bytearray()
        self.lines: queue.Queue[str | None] = queue.Queue()
        self.changed = threading.Condition()
        threading.Thread(target=self.receive, daemon=True).start()

    def receive(self) -> None:
        rest = b""
        while block := receive_block(self.connection):
            with self.changed:
                self.text += block
                self.changed.notify_all()
            *lines, rest = (rest + block).split(b"\n")
            for line in lines:
                self.lines.put(line.decode(errors="replace").rstrip("\r"))
        self.lines.put(None)

    def send(self, line: str) -> None:
        self.connection.sendall(line.encode() + b"\n")

    def contains(self, text: bytes, seconds: float) -> bool:
        """Wait until the port has sent a text."""
        with self.changed:
            return self.changed.wait_for(lambda: text in self.text, seconds)


class Monitor:
    """The emulator's control connection."""

    def __init__(self, connection: socket.socket) -> None:
        self.stream = connection.makefile("rw", encoding="utf-8")
        self.reason = ""
        self.read()  # the greeting
        self.command("qmp_capabilities")

    def read(self) -> dict:
        line = self.stream.readline()
        if not line:
            raise EOFError("the emulator ended")
        message = json.loads(line)
        if message.get("event") == "SHUTDOWN":
            self.reason = message["data"]["reason"]
        return message

    def command(self, name: str, **arguments: object) -> None:
        self.stream.write(json.dumps({"execute": name, "arguments": arguments}) + "\n")
        self.stream.flush()
        while "return" not in (answer := self.read()):
            if "error" in answer:
                raise RuntimeError(f"{name}: {answer['error']['desc']}")

    def shutdown_reason(self) -> str:
        try:
            while not self.reason:
                self.read()
        except (EOFError, ConnectionError):
            pass
        return self.reason


def receive_block(connection: socket.socket) -> bytes:
    try:
        return connection.recv(65536)
    except ConnectionError:
        return b""


def rgb565(pixels: bytes) -> bytes:
    """Convert pixels of three bytes to little-endian RGB565."""
    red, green, blue = pixels[0::3], pixels[1::3], pixels[2::3]
    low = bytes((g << 3 & 0xE0) | b >> 3 for g, b in zip(green, blue))
    high = bytes((r & 0xF8) | g >> 5 for r, g in zip(red, green))
    converted = bytearray(2 * len(low))
    converted[0::2], converted[1::2] = low, high
    return bytes(converted)
