"""The file system of a virtual machine: files of the host and of a build, as an archive that the kernel unpacks."""

import pathlib
import re
import stat
import subprocess

Path = pathlib.Path


class Tree:
    """Files of the guest. `library_directories` are where libraries of its architecture are on the host."""

    def __init__(self, library_directories: list[Path]) -> None:
        self.library_directories = library_directories
        self.entries: dict[str, tuple[int, bytes]] = {}

    def add(self, name: str, mode: int, content: bytes) -> None:
        parent = str(Path(name).parent)
        if parent != "." and parent not in self.entries:
            self.add(parent, stat.S_IFDIR | 0o755, b"")
        self.entries[name] = (mode, content)

    def link(self, name: str, target: str) -> None:
        self.add(name, stat.S_IFLNK | 0o777, target.encode())

    def text(self, name: str, content: str) -> None:
        self.add(name, stat.S_IFREG | 0o644, content.encode())

    def file(self, name: str, source: Path) -> None:
        executable = 0o111 if source.stat().st_mode & 0o100 else 0
        self.add(name, stat.S_IFREG | 0o644 | executable, source.read_bytes())

    def directory(self, name: str, source: Path, skip: tuple[str, ...] = ()) -> None:
        for path in sorted(source.rglob("*")):
            inside = path.relative_to(source)
            if path.is_file() and inside.parts[0] not in skip:
                self.file(f"{name}/{inside}", path)

    def program(self, name: str, source: Path) -> None:
        """Add a program and the libraries that it requires, in all steps."""
        self.file(name, source)
        interpreter, libraries = required_by(source)
        if interpreter:
            self.library(interpreter.lstrip("/"), Path(interpreter).name)
        for library in libraries:
            self.library(f"usr/lib/{library}", library)

    def library(self, name: str, library: str) -> None:
        if name not in self.entries:
            self.program(name, self.find_library(library))

    def find_library(self, library: str) -> Path:
        for directory in self.library_directories:
            path = directory / library
            if path.exists():
                return path
        raise FileNotFoundError(f"{library}: not in {self.library_directories}")

    def write(self, target: Path) -> None:
        with target.open("wb") as archive:
            for number, (name, (mode, content)) in enumerate(self.entries.items(), 1):
                archive.write(member(name, number, mode, content))
            archive.write(member("TRAILER!!!", 0, 0, b""))


def member(name: str, number: int, mode: int, content: bytes) -> bytes:
    """One file in cpio's portable format."""
    fields = (number, mode, 0, 0, 1, 0, len(content), 0, 0, 0, 0, len(name) + 1, 0)
    header = b"070701" + b"".join(b"%08X" % field for field in fields) + name.encode() + b"\0"
    return padded(header) + padded(content)


def padded(block: bytes) -> bytes:
    return block + b"\0" * (-len(block) % 4)


def required_by(program: Path) -> tuple[str, list[str]]:
    """Return the dynamic loader and the libraries that an ELF file names."""
    command = ["readelf", "-d", "-l", "-W", str(program)]
    text = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    interpreter = re.search(r"program interpreter: (.*?)\]", text)
    return interpreter.group(1) if interpreter else "", re.findall(r"\(NEEDED\).*\[(.*)\]", text)
