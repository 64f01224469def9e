"""Run the tests of libdravik in virtual machines.

Usage: run.py ARCHITECTURE BUILD RUN [SUITE ...]

BUILD is the directory of a build with the tests of the virtual machines, RUN a directory for the results: `results`
with one line per test, and a directory for each boot with the console's text and the panel's image.
"""

import concurrent.futures
import dataclasses
import os
import pathlib
import shutil
import subprocess
import sys

import archive
import machine
import session
import simulated

Path = pathlib.Path

PROJECT = Path(__file__).resolve().parents[3]
GUEST = PROJECT / "tests/vm/guest"


@dataclasses.dataclass
class Boot:
    """A boot of the machine with its test suites. The boots of a chain use the same card, one after the other."""

    name: str
    suites: list[str]
    exact_time: bool = False


CHAINS = [
    [
        Boot("devices", ["Demonstration", "Probe", "Panel", "Geometry", "GeometryOfOneScreen", "Board", "Log", "Console", "Mixer"]),
    ],
    [
        Boot("card", ["Card", "Recordings", "Partition"]),
        Boot("partitioned", ["PartitionedCard", "Format"]),
        Boot("formatted", ["FormattedCard", "PowerCut"]),
        Boot("restarted", ["CardAfterPowerCut"]),
    ],
    [Boot("sound", ["Sound", "LoopedSound"], exact_time=True)],
]


# The demonstration is not built for ARM, and its adapter is not scanned out there.
NOT_ON = {"armhf": ("Demonstration",)}


@dataclasses.dataclass
class Origin:
    """Where the programs and the libraries of an architecture are on the host."""

    programs: Path
    libraries: list[Path]


ORIGINS = {
    "amd64": Origin(Path("/"), [Path("/lib/x86_64-linux-gnu"), Path("/usr/lib/x86_64-linux-gnu")]),
    "armhf": Origin(PROJECT / "build/vm/armhf/programs",
                    [PROJECT / "build/sysroot-armhf" / directory / "arm-linux-gnueabihf"
                     for directory in ("lib", "usr/lib")]),
}


PROGRAMS = {
    "usr/bin/amixer": "usr/bin/amixer",
    "usr/bin/arecord": "usr/bin/arecord",
    "usr/local/bin/dosfsck": "sbin/fsck.fat",
    "sbin/mkfs.vfat": "sbin/mkfs.fat",
    "usr/sbin/nanddump": "usr/sbin/nanddump",
    "usr/sbin/nandwrite": "usr/sbin/nandwrite",
}


def build_tree(architecture: str, build: Path) -> archive.Tree:
    origin = ORIGINS[architecture]
    kernel = PROJECT / "build/vm" / architecture / "kernel"
    tree = archive.Tree([build / "lib", *origin.libraries])
    for directory in ("dev", "proc", "sys", "tmp"):
        tree.add(directory, archive.stat.S_IFDIR | 0o755, b"")
    for name in applets():
        tree.link(name, "/bin/busybox")
    tree.file("bin/busybox", origin.programs / "bin/busybox")
    for name, source in PROGRAMS.items():
        tree.entries.pop(name, None)
        tree.program(name, origin.programs / source)
    tree.directory("usr/share/alsa", origin.programs / "usr/share/alsa", skip=("ucm", "ucm2", "topology"))
    tree.directory("lib/modules", kernel / "lib/modules")
    tree.text("etc/group", "root:x:0:\naudio:x:29:\n")
    tree.text("etc/passwd", "root:x:0:0::/:/bin/sh\n")
    tree.file("init", GUEST / "init")
    # A plain reboot of BusyBox only sends a signal to the first process.
    tree.add("sbin/reboot", archive.stat.S_IFREG | 0o755, b"#!/bin/sh\nexec /bin/busybox reboot -f\n")
    tree.program("usr/bin/vm_test", build / "bin/vm_test")
    for name in ("dravik-ctl", "board_probe", "dashcam"):
        if (build / "bin" / name).exists():
            tree.program(f"usr/bin/{name}", build / "bin" / name)
    return tree


def applets() -> list[str]:
    listed = subprocess.run(["/bin/busybox", "--list-full"], capture_output=True, text=True, check=True).stdout
    return listed.split()


def run_boot(architecture: str, boot: Boot, base: Path, card: Path, expected: Path, run: Path) -> session.Session:
    directory = run / boot.name
    directory.mkdir(parents=True)
    kernel = PROJECT / "build/vm" / architecture / "kernel/image"
    guest = machine.Machine(architecture, kernel, base, card, f"tests={','.join(boot.suites)}", boot.exact_time)
    running = session.Session(boot.suites, directory, expected, guest)
    try:
        running.run()
    finally:
        running.keep_text()
        guest.cut_power()
    return running


def run_chain(architecture: str, chain: list[Boot], base: Path, card: Path, expected: Path,
              run: Path) -> list[session.Session]:
    mine = run / f"{chain[0].name}.img"
    subprocess.run(["cp", "--sparse=always", card, mine], check=True)
    sessions = []
    for boot in chain:
        sessions.append(run_boot(architecture, boot, base, mine, expected, run))
    return sessions


def chosen(architecture: str, suites: list[str]) -> list[list[Boot]]:
    """Return the boots that run these suites; all of them if none is named."""
    def is_chosen(suite: str) -> bool:
        return suite not in NOT_ON.get(architecture, ()) and (not suites or suite in suites)
    chains = [[dataclasses.replace(boot, suites=list(filter(is_chosen, boot.suites))) for boot in chain]
              for chain in CHAINS]
    return [kept for chain in chains if (kept := [boot for boot in chain if boot.suites])]


def write_results(sessions: list[session.Session], target: Path) -> None:
    lines = []
    for finished in sessions:
        for test, result in finished.results.items():
            lines.append(f"{result} {test}")
            if result != "passed":
                lines += [f"  {note}" for note in finished.notes.get(test, [])]
    target.write_text("\n".join(lines) + "\n")


def main(architecture: str, build_name: str, run_name: str, *suites: str) -> None:
    build, run = Path(build_name).resolve(), Path(run_name).resolve()
    shutil.rmtree(run, ignore_errors=True)
    run.mkdir(parents=True)
    host_build = PROJECT / "build/release"
    card, expected = simulated.record_board(host_build, run)
    tree = build_tree(architecture, build)
    simulated.add_files(tree, expected, host_build)
    base = run / "base.cpio"
    tree.write(base)
    chains = chosen(architecture, list(suites))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as executor:
        waiting = [executor.submit(run_chain, architecture, chain, base, card, expected, run) for chain in chains]
        sessions = [finished for future in waiting for finished in future.result()]
    write_results(sessions, run / "results")
    print((run / "results").read_text(), end="")


if __name__ == "__main__":
    if len(sys.argv) < 4:
        print(__doc__, end="")
        sys.exit(0 if sys.argv[1:] in (["-h"], ["--help"]) else 2)
    main(*sys.argv[1:])
