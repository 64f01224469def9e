"""What the simulated board shows of the demonstration: the screens that the panel of a virtual machine has to show."""

import os
import pathlib
import shutil
import subprocess

import archive

Path = pathlib.Path

CARD_MIB = 64
RECORDING_BYTES = 1000000
UNLIKE = {"system"}  # shows the kernel and the network addresses


def record_screens(build: Path | None, run: Path) -> tuple[Path, Path]:
    """Return the image of a card with recordings, and the directory of the screens as raw pixels."""
    card, pictures = run / "recorded.img", run / "screens"
    pictures.mkdir()
    if build is None or not (build / "bin/dashcam").exists():
        with card.open("wb") as image:
            image.truncate(CARD_MIB << 20)
        return card, pictures
    board = run / "simulated"
    simulator = str(build / "bin/dravik-sim")
    call(simulator, "new", str(board), "--card", str(CARD_MIB))
    shutil.copytree(build / "share/dashcam/usr", board / "usr", dirs_exist_ok=True)
    record(board / "tmp/mmcblk0p1/REC")
    for screen in screens(build):
        call(simulator, "run", str(board), "--", str(build / "bin/dashcam"), *options(screen))
        shutil.copy(board / "dev/fb0", pictures / f"{screen}.raw")
    call(simulator, "card", str(board), "umount")
    subprocess.run(["cp", "--sparse=always", board / "dev/mmcblk0", card], check=True)
    return card, pictures


def call(*command: str) -> str:
    finished = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True)
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


def add_files(tree: archive.Tree, pictures: Path, build: Path) -> None:
    """Give the guest the demonstration's files, and the list of its screens."""
    names = sorted(path.stem for path in pictures.glob("*.raw"))
    tree.text("etc/screens", "".join(f"{name}\n" for name in names))
    if names:
        tree.directory("usr/local/dravik", build / "share/dashcam/usr/local/dravik")
