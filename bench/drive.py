#!/usr/bin/env python3
"""Compares the mounted drive with bindfs, a plain pass-through drive, and both with the folder itself.

  drive.py LOCALDISK-HOST [--quick] [WORD ...]

Prints a table of ratios, of the rows whose name contains one of the words, if any are given. Each is of the best of three
times, or of nine where one takes a fraction of a second (of one with --quick), the sides taking turns. The transfers have
all processors. All else has one: small requests would mostly wait for another one to wake up, and whether they do is the
scheduler's choice as long as a drive is mounted.
"""

import math
import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HOST = os.path.abspath(sys.argv[1])
QUICK = "--quick" in sys.argv
ROUNDS, SHORT_ROUNDS = (1, 1) if QUICK else (3, 9)
WORDS = [word for word in sys.argv[2:] if not word.startswith("--")]
LARGE = (64 if QUICK else 512) << 20
SMALL, MANY = (400, 4000) if QUICK else (2000, 20000)
BLOCK = b"0123456789abcdef" * (1 << 16)
PAGES, NAMES = "1", "2"
IDLE = 2.2  # seconds after which a file's times are old enough for its pages to be kept


class Sides:
    """One folder, mounted twice beside itself."""

    def __init__(self, base):
        self.base, self.root, self.running = base, base / "root", []
        for name in ("root", "cache", "bindfs", "drive"):
            (base / name).mkdir()
        self.folders = {"plain": self.root, "bindfs": base / "bindfs", "drive": base / "drive"}

    def mount(self):
        self.start("bindfs", ["bindfs", "-f", "-o", "big_writes", str(self.root), str(self.base / "bindfs")])
        self.start("drive", [HOST, "mount", "--foreground", "--cache", str(self.base / "cache"), "--root", str(self.root),
                             str(self.base / "drive")])

    def start(self, name, command):
        self.running.append(subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
        for _ in range(100):
            if os.path.ismount(self.base / name):
                return
            time.sleep(0.05)
        raise OSError(f"{name} is not mounted")

    def run_on(self, processors):
        for process in (os.getpid(), *(process.pid for process in self.running)):
            for thread in os.listdir(f"/proc/{process}/task"):
                os.sched_setaffinity(int(thread), processors)

    def unmount(self):
        for name in ("bindfs", "drive"):
            if os.path.ismount(self.base / name):
                subprocess.run(["fusermount3", "-u", str(self.base / name)], check=False)
        for process in self.running:
            process.wait(30)
        self.running = []



def write_large(folder):
    with open(folder / "large", "wb", buffering=0) as file:
        for _ in range(LARGE // len(BLOCK)):
            file.write(BLOCK)


def read_large(folder):
    with open(folder / "large", "rb", buffering=0) as file:
        while file.read(1 << 20):
            pass


def create_small(folder):
    (folder / "small").mkdir()
    for i in range(SMALL):
        with open(folder / f"small/{i}", "wb", buffering=0) as file:
            file.write(BLOCK[:1000])


def read_small(folder):
    for i in range(SMALL):
        with open(folder / f"small/{i}", "rb", buffering=0) as file:
            file.read(2000)


def remove_small(folder):
    for i in range(SMALL):
        os.unlink(folder / f"small/{i}")
    os.rmdir(folder / "small")


def run(*command, cwd=None, env=None):
    subprocess.run(command, cwd=cwd, env=env, stdout=subprocess.DEVNULL, check=True)


def make_tree(root):
    for i in range(MANY // 200):
        (root / f"tree/{i}").mkdir(parents=True)
        for j in range(200):
            (root / f"tree/{i}/{j}").write_bytes(b"x")


def make_repository(root):
    git = ["git", "-c", "user.name=x", "-c", "user.email=x@localhost", "-c", "init.defaultBranch=x"]
    for i in range(MANY // 160):
        (root / f"work/{i}").mkdir(parents=True)
        for j in range(20):
            (root / f"work/{i}/{j}").write_bytes(b"%d %d" % (i, j))
    # As git sets it itself in a folder that keeps no modes: without it each file counts as changed there.
    for arguments in (["init", "-q"], ["config", "core.fileMode", "false"], ["add", "."], ["commit", "-qm", "x"]):
        run(*git, *arguments, cwd=root / "work")
    for name in ("root", "bindfs", "drive"):
        shutil.copy(root / "work/.git/index", root / f"work/.git/index-{name}")


def git_status(folder):
    """With an index of the side's own: the inode numbers of another one in it would have all content read again."""
    index = folder / "work/.git" / f"index-{folder.name}"
    run("git", "-c", "core.checkStat=default", "-c", "safe.directory=*", "status", cwd=folder / "work",
        env={**os.environ, "GIT_INDEX_FILE": str(index)})


def rows(sides):
    """Each row: its name, the work, and what comes before it untimed."""
    def forget(what):
        """The folder itself lies in memory."""
        Path("/proc/sys/vm/drop_caches").write_text(what, encoding="ascii")

    def cold(_side):
        forget(NAMES)

    def unread(_side):
        ensure_small(sides)
        forget(PAGES)

    def settled_and_cold(side):
        git_status(sides.folders[side])
        cold(side)

    def warm_after(work):
        def prepare(side):
            pages_of(sides, side)
            work(sides.folders[side])
            time.sleep(0 if side == "plain" else IDLE)
            work(sides.folders[side])
        return prepare

    def listing(folder):
        run("ls", "-lR", str(folder / "tree"))

    def without_large(_side):
        if (sides.root / "large").exists():
            (sides.root / "large").unlink()

    return [
        ("write %d MiB" % (LARGE >> 20), write_large, without_large),
        ("read %d MiB, cold" % (LARGE >> 20), read_large, lambda side: pages_of(sides, side)),
        ("read %d MiB, warm" % (LARGE >> 20), read_large, warm_after(read_large)),
        (f"create {SMALL} small files", create_small, lambda _side: shutil.rmtree(sides.root / "small", ignore_errors=True)),
        (f"read {SMALL} small files", read_small, unread),
        (f"remove {SMALL} small files", remove_small, lambda _side: ensure_small(sides)),
        (f"ls -lR of {MANY}, cold", listing, cold),
        (f"ls -lR of {MANY}, warm", listing, lambda side: listing(sides.folders[side])),
        (f"find over {MANY}", lambda folder: run("find", str(folder / "tree")), lambda _side: None),
        ("git status, names forgotten", git_status, settled_and_cold),
    ]


def pages_of(sides, side):
    """Forgets the pages of the mounted file alone: the folder's own stay, so that the disk is not what is measured."""
    target = sides.folders[side] / "large"
    if not (sides.root / "large").exists():
        write_large(sides.root)
    number = os.open(target, os.O_RDONLY)
    if side != "plain":
        os.posix_fadvise(number, 0, 0, os.POSIX_FADV_DONTNEED)
    os.close(number)


def ensure_small(sides):
    if not (sides.root / "small").exists():
        create_small(sides.root)
        time.sleep(1.1)


def measure(sides):
    print("| work | bindfs ÷ plain | drive ÷ plain | drive ÷ bindfs |\n|---|---|---|---|", flush=True)
    products = []
    processors = os.sched_getaffinity(0)
    for name, work, prepare in rows(sides):
        if WORDS and not any(word in name for word in WORDS):
            continue
        is_transfer = work in (write_large, read_large)
        sides.run_on(processors if is_transfer else {min(processors)})
        best = {side: math.inf for side in sides.folders}
        for _ in range(ROUNDS if is_transfer else SHORT_ROUNDS):
            for side, folder in sides.folders.items():
                prepare(side)
                start = time.perf_counter()
                work(folder)
                best[side] = min(best[side], time.perf_counter() - start)
        ratio = best["drive"] / best["bindfs"]
        products.append(ratio)
        print(f"| {name} | {best['bindfs'] / best['plain']:.2f} | {best['drive'] / best['plain']:.2f} | {ratio:.2f} |",
              flush=True)
    print(f"geometric mean of drive ÷ bindfs: {math.exp(sum(map(math.log, products)) / len(products)):.2f}")


def main():
    if os.geteuid() != 0 or not os.access("/dev/fuse", os.W_OK):
        sys.exit("the drive's rows need root and /dev/fuse: to mount, and to make the kernel forget")
    base = Path(tempfile.mkdtemp(prefix="localdisk-drive-bench-", dir="/dev/shm"))
    sides = Sides(base)
    try:
        make_tree(sides.root)
        make_repository(sides.root)
        sides.mount()
        measure(sides)
    finally:
        sides.unmount()
        shutil.rmtree(base, ignore_errors=True)


main()
