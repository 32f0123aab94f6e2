#!/usr/bin/env python3
"""Tries to make the mounted drive lose or refuse what it must not: killed, filled, raced.

  safety_test.py LOCALDISK-HOST

Each case works on a drive of its own. Exit code 77, with the reason, where the drive can't be mounted here.
"""

import contextlib
import errno
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from pathlib import Path

HOST = os.path.abspath(sys.argv.pop(1))
BASE = Path(tempfile.mkdtemp(prefix="localdisk-safety-", dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None))
OWN = ".localdisk-upload-"


def is_mounted(point):
    with open("/proc/self/mounts", encoding="utf-8") as mounts:
        return any(line.split()[1] == str(point) for line in mounts)


def unmount(point):
    for command in (["fusermount3", "-uz", str(point)], ["umount", "-l", str(point)]):
        if subprocess.run(command, stderr=subprocess.DEVNULL, check=False, timeout=20).returncode == 0:
            return


class Mount:
    """A mounted drive in this process's hands."""

    def __init__(self, root, point, cache, waits=True):
        self.point, self.out = point, open(f"{point}.out", "a+", encoding="utf-8")
        point.mkdir(exist_ok=True)
        command = [HOST, "mount", "--foreground", "--cache", str(cache), "--root", str(root), str(point)]
        self.process = subprocess.Popen(command, stdout=self.out, stderr=self.out)
        if not waits:
            return
        for _ in range(3000):
            if is_mounted(point):
                return
            if self.process.poll() is not None:
                break
            time.sleep(0.01)
        raise OSError("not mounted: " + self.said())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.out.close()

    def said(self):
        self.out.seek(0)
        return self.out.read()

    def end(self, how=signal.SIGTERM):
        """Ends the drive and answers its exit code."""
        self.process.send_signal(how)
        try:
            code = self.process.wait(30)
        except subprocess.TimeoutExpired:
            self.process.kill()
            code = self.process.wait(10)
        if is_mounted(self.point):
            unmount(self.point)
        return code


class DriveCase(unittest.TestCase):
    def setUp(self):
        self.base = Path(tempfile.mkdtemp(dir=BASE))
        self.root, self.cache = self.base / "root", self.base / "cache"
        self.root.mkdir()
        self.cache.mkdir()
        self.mounts, self.volumes = [], []
        self.drive = self.base / "drive"

    def tearDown(self):
        unexpected = []
        for mount in self.mounts:
            if mount.process.poll() is None and mount.end() != 0:
                unexpected.append(mount.said())
            if is_mounted(mount.point):
                unmount(mount.point)
            mount.out.close()
        for volume in self.volumes:
            subprocess.run(["umount", "-l", str(volume)], check=False, timeout=20)
        self.assertEqual(unexpected, [])

    def mount(self, name="drive", waits=True):
        self.mounts.append(Mount(self.root, self.base / name, self.cache, waits))
        return self.mounts[-1]

    def volume(self, folder, size):
        """A file system of its own at `folder`."""
        folder.mkdir(exist_ok=True)
        command = ["mount", "-t", "tmpfs", "-o", f"size={size}", "tmpfs", str(folder)]
        if subprocess.run(command, stderr=subprocess.DEVNULL, check=False, timeout=20).returncode != 0:
            self.skipTest("not allowed to mount a tmpfs")
        self.volumes.append(folder)

    def ends_with(self, code, mount):
        """Whatever it said shows what was wrong, reports of sanitizers too."""
        self.assertEqual(mount.end(), code, mount.said())

    def kill(self, mount):
        mount.end(signal.SIGKILL)

    def refused(self, reason, call, *arguments):
        with self.assertRaises(OSError) as caught:
            call(*arguments)
        self.assertEqual(errno.errorcode[caught.exception.errno], errno.errorcode[reason])

    def expect_no_leftovers(self):
        found = [path for path in self.root.rglob("*") if path.name.startswith(OWN)]
        self.assertEqual(found, [])

    def rescued(self, path):
        return [place.read_bytes() for place in self.cache.glob(f"localdisk-mount-*/rescue/{path}")]


class WholeFiles(DriveCase):
    def test_failed_rename_over_an_open_file_leaves_it(self):
        self.volume(self.base / "other", "1m")
        (self.base / "other/source").write_bytes(b"new")
        (self.root / "link").symlink_to(self.base / "other")
        (self.root / "target").write_bytes(b"precious")
        self.mount()
        with open(self.drive / "target", "rb") as reader:
            self.refused(errno.EXDEV, os.rename, self.drive / "link/source", self.drive / "target")
            self.assertEqual(reader.read(), b"precious")
        self.assertEqual((self.root / "target").read_bytes(), b"precious")

    def test_a_file_is_there_at_every_moment_of_its_replacement(self):
        (self.root / "file").write_bytes(b"old")
        self.mount()
        stop, missing, looks = threading.Event(), [], [0]

        def look():
            while not stop.is_set():
                looks[0] += 1
                try:
                    if len((self.root / "file").read_bytes()) < 3:
                        missing.append("short")
                except FileNotFoundError:
                    missing.append("gone")

        watcher = threading.Thread(target=look)
        watcher.start()
        for i in range(200):
            with open(self.drive / "file", "rb") as reader:
                before = reader.read(1)
                (self.drive / "next").write_bytes(b"new%d" % i)
                os.replace(self.drive / "next", self.drive / "file")
                self.assertEqual(len(before), 1)
        stop.set()
        watcher.join(20)
        self.assertGreater(looks[0], 100)
        self.assertEqual(missing, [])

    def test_replaced_and_removed_files_keep_their_content_for_who_has_them_open(self):
        sizes = (7, 300_000, 3_000_000)
        for size in sizes:
            (self.root / f"removed{size}").write_bytes(b"r" * size)
            (self.root / f"replaced{size}").write_bytes(b"o" * size)
        self.mount()
        for size in sizes:
            with open(self.drive / f"removed{size}", "rb") as removed, open(self.drive / f"replaced{size}", "rb") as old:
                os.unlink(self.drive / f"removed{size}")
                (self.drive / "new").write_bytes(b"n")
                os.rename(self.drive / "new", self.drive / f"replaced{size}")
                self.assertFalse((self.root / f"removed{size}").exists())
                self.assertEqual((os.fstat(removed.fileno()).st_size, os.fstat(removed.fileno()).st_nlink), (size, 0))
                self.assertEqual((removed.read(), old.read()), (b"r" * size, b"o" * size))
        self.assertEqual(sorted(os.listdir(self.drive)), sorted(f"replaced{size}" for size in sizes))
        self.ends_with(0, self.mounts[0])
        self.expect_no_leftovers()

    def test_names_like_those_of_hidden_files_are_names(self):
        self.mount()
        for name in (".fuse_hidden0000000100000001", OWN + "0123456789abcdef-1"):
            (self.drive / "file").write_bytes(b"content")
            os.rename(self.drive / "file", self.drive / name)
            self.assertEqual((self.root / name).read_bytes(), b"content")
            self.assertIn(name, os.listdir(self.drive))

    def test_rename_before_close_uploads_first(self):
        (self.root / "conf").write_bytes(b"old")
        mount = self.mount()
        file = os.open(self.drive / "tmp", os.O_WRONLY | os.O_CREAT)
        os.write(file, b"new settings")
        os.rename(self.drive / "tmp", self.drive / "conf")
        self.assertEqual((self.root / "conf").read_bytes(), b"new settings")
        self.kill(mount)
        self.assertEqual((self.root / "conf").read_bytes(), b"new settings")

    def test_a_new_file_whose_times_are_set_before_it_is_written_is_its_own(self):
        self.mount()
        with open(self.drive / "file", "wb", buffering=0) as file:
            os.utime(file.fileno(), (1000, 1000))
            file.write(b"content")
        self.assertEqual({path.name: path.read_bytes() for path in self.root.iterdir()}, {"file": b"content"})

    def test_rename_of_what_a_full_disk_does_not_take_fails(self):
        self.volume(self.root, "2m")
        (self.root / "conf").write_bytes(b"old")
        mount = self.mount()
        file = os.open(self.drive / "tmp", os.O_WRONLY | os.O_CREAT)
        os.write(file, b"x" * 3_000_000)
        self.refused(errno.ENOSPC, os.rename, self.drive / "tmp", self.drive / "conf")
        self.assertEqual((self.root / "conf").read_bytes(), b"old")
        self.refused(errno.ENOSPC, os.close, file)
        self.ends_with(1, mount)
        self.assertEqual((self.root / "conf").read_bytes(), b"old")
        self.assertEqual(self.rescued("tmp"), [b"x" * 3_000_000])

    def test_kill_during_uploads_leaves_whole_files(self):
        size = 60_000_000
        for delay in (0.0, 0.01, 0.03):
            mount = self.mount()
            file = os.open(self.drive / "file", os.O_WRONLY | os.O_CREAT | os.O_TRUNC)
            os.write(file, b"x" * size)

            def close(number):
                try:
                    os.close(number)
                except OSError:
                    pass

            closing = threading.Thread(target=close, args=(file,))
            closing.start()
            time.sleep(delay)
            self.kill(mount)
            closing.join(20)
            self.assertIn((self.root / "file").stat().st_size, (0, size))
            shutil.rmtree(self.cache)
            self.cache.mkdir()

    def test_content_of_a_killed_drive_is_rescued_by_its_path(self):
        (self.root / "folder").mkdir()
        (self.root / "held").write_bytes(b"h" * 2_000_000)
        mount = self.mount()
        file = os.open(self.drive / "folder/report", os.O_WRONLY | os.O_CREAT)
        os.write(file, b"work of a day")
        held = os.open(self.drive / "held", os.O_RDONLY)
        os.unlink(self.drive / "held")
        os.rename(self.drive / "folder", self.drive / "moved")
        self.kill(mount)
        for number in (file, held):
            try:
                os.close(number)
            except OSError:
                pass
        left = list(self.root.glob(OWN + "*"))
        self.assertEqual(len(left), 1)  # what was removed while it was open
        again = self.mount("again")
        self.assertIn("moved/report", again.said())
        self.assertEqual(self.rescued("moved/report"), [b"work of a day"])
        self.ends_with(0, again)
        self.expect_no_leftovers()
        self.assertEqual(self.rescued("moved/report"), [b"work of a day"])

    def test_what_another_module_left_is_its_own(self):
        (self.root / "held").write_bytes(b"h" * 2_000_000)
        mount = self.mount()
        held = os.open(self.drive / "held", os.O_RDONLY)
        os.unlink(self.drive / "held")
        self.kill(mount)
        os.close(held)
        journal, = self.cache.glob("localdisk-mount-*/journal")
        records = journal.read_bytes()
        self.assertIn(b"\nlocaldisk\n", records)
        for module, left in ((b"otherdisk", 1), (b"localdisk", 0)):
            journal.write_bytes(records.replace(b"\nlocaldisk\n", b"\n" + module + b"\n"))
            self.ends_with(0, self.mount())
            self.assertEqual(len(list(self.root.glob(OWN + "*"))), left)

    def test_cache_that_disappears_is_an_error(self):
        (self.root / "file").write_bytes(b"old")
        mount = self.mount()
        file = os.open(self.drive / "file", os.O_WRONLY | os.O_TRUNC)
        os.write(file, b"new content")
        for content in self.cache.glob("localdisk-mount-*/[0-9]*"):
            os.truncate(content, 0)
        self.refused(errno.EIO, os.close, file)
        self.assertEqual((self.root / "file").read_bytes(), b"old")
        self.ends_with(1, mount)


class Sharing(DriveCase):
    def test_appending_writes_go_to_the_end_that_the_file_has(self):
        (self.root / "log").write_bytes(b"first\n")
        self.mount()
        self.mount("second")
        one = os.open(self.drive / "log", os.O_WRONLY | os.O_APPEND)
        os.fstat(one)
        with open(self.root / "log", "ab") as plain:
            plain.write(b"a plain program\n")
        os.write(one, b"drive one\n")
        two = os.open(self.base / "second/log", os.O_WRONLY | os.O_APPEND)
        os.write(two, b"drive two\n")
        os.close(two)
        os.write(one, b"drive one again\n")
        os.close(one)
        lines = (self.root / "log").read_text().splitlines()
        self.assertEqual(lines, ["first", "a plain program", "drive two", "drive one", "drive one again"])

    def test_two_that_write_one_file_are_both_kept(self):
        (self.root / "real").mkdir()
        (self.root / "real/file").write_bytes(b"what was there")
        (self.root / "link").symlink_to("real")
        first = self.mount()
        second = self.mount("second")
        for other, mount in ((self.drive / "link/file", first), (self.base / "second/real/file", second)):
            (self.root / "real/file").write_bytes(b"what was there")
            with open(self.drive / "real/file", "wb") as one, open(other, "wb") as two:
                one.write(b"the first one closed")
                two.write(b"the one closed last")
                one.close()
            self.assertEqual((self.root / "real/file").read_bytes(), b"the first one closed")
            self.assertEqual((self.root / "real/file.newer").read_bytes(), b"the one closed last")
            self.assertIn("file.newer", mount.said())
            os.remove(self.root / "real/file.newer")


class NoRefusals(DriveCase):
    def test_what_is_neither_file_nor_folder_is_refused_at_once(self):
        os.mkfifo(self.root / "fifo")
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(str(self.root / "socket"))
        (self.root / "empty").write_bytes(b"")
        mount = self.mount()
        for name in ("fifo", "socket"):
            for flags in (os.O_RDONLY, os.O_WRONLY, os.O_RDWR | os.O_TRUNC):
                self.refused(errno.EOPNOTSUPP, os.open, self.drive / name, flags)
            self.refused(errno.EOPNOTSUPP, os.truncate, self.drive / name, 5)
        self.assertEqual((self.drive / "empty").read_bytes(), b"")
        self.ends_with(0, mount)

    def test_nothing_is_left_of_removed_files_below_a_replaced_folder(self):
        mount = self.mount()
        (self.drive / "new").mkdir()
        (self.drive / "old").mkdir()
        files = [os.open(self.drive / f"old/{i}", os.O_RDWR | os.O_CREAT) for i in range(12)]
        for i, file in enumerate(files):
            os.write(file, b"content")
            os.unlink(self.drive / f"old/{i}")
        os.rename(self.drive / "new", self.drive / "old")
        for file in files:
            os.close(file)
        spare = 4  # empty files that wait for the next content
        folder, = self.cache.glob("localdisk-mount-*")

        def contents(names, size):
            """Of the files that are there while they are looked at."""
            found = []
            for name in names:
                with contextlib.suppress(FileNotFoundError):
                    path = Path(os.readlink(name).split(" ")[0]) if os.path.islink(name) else Path(name)
                    if path.parent == folder and path.name.isdigit():
                        found.append(size(path))
            return found

        cached = lambda: contents(folder.iterdir(), lambda path: path.stat().st_size)
        opened = lambda: contents(Path(f"/proc/{mount.process.pid}/fd").iterdir(), str)
        for _ in range(1500):  # the kernel tells of the last close a little later
            if len(opened()) <= spare and len(cached()) <= spare and set(cached()) <= {0}:
                break
            time.sleep(0.02)
        else:
            self.fail(f"left: {cached()} {opened()}")

    def test_full_cache_removes_replaces_and_truncates(self):
        self.volume(self.cache, "1m")
        content = b"c" * 5_000_000
        for name in ("removed", "replaced", "emptied", "cut"):
            (self.root / name).write_bytes(content)
        (self.root / "new").write_bytes(b"new")
        self.mount()
        for name in ("removed", "replaced"):
            with open(self.drive / name, "rb") as file:
                if name == "removed":
                    os.unlink(self.drive / name)
                else:
                    os.rename(self.drive / "new", self.drive / name)
                self.assertEqual(file.read(), content)
        with open(self.drive / "emptied", "rb+") as file:
            file.truncate(0)
        with open(self.drive / "cut", "rb+") as file:
            file.truncate(1000)
        sizes = {path.name: path.stat().st_size for path in self.root.iterdir()}
        self.assertEqual(sizes, {"replaced": 3, "emptied": 0, "cut": 1000})

    def test_holes_stay_holes_in_the_cache(self):
        self.mount()
        file = os.open(self.drive / "sparse", os.O_RDWR | os.O_CREAT)
        os.ftruncate(file, 1 << 30)
        os.pwrite(file, b"end", (1 << 30) - 3)
        used = sum(path.stat().st_blocks * 512 for path in self.cache.glob("localdisk-mount-*/[0-9]*"))
        self.assertLess(used, 1 << 20)
        os.ftruncate(file, 1 << 20)
        os.close(file)
        self.assertEqual((self.root / "sparse").read_bytes(), bytes(1 << 20))

    def test_reading_what_is_replaced_all_the_time(self):
        (self.root / "file").write_bytes(b"content")
        self.mount()
        stop, unexpected = threading.Event(), []

        def read():
            while not stop.is_set():
                try:
                    content = (self.drive / "file").read_bytes()
                    if content != b"content":
                        unexpected.append(content)
                except OSError as error:
                    unexpected.append(str(error))

        readers = [threading.Thread(target=read) for _ in range(3)]
        for reader in readers:
            reader.start()
        for _ in range(300):
            (self.drive / "next").write_bytes(b"content")
            os.replace(self.drive / "next", self.drive / "file")
        stop.set()
        for reader in readers:
            reader.join(60)
        self.assertEqual(unexpected, [])

    def test_a_removed_file_can_not_be_opened_again(self):
        (self.root / "file").write_bytes(b"content")
        self.mount()
        known = os.open(self.drive / "file", os.O_PATH)
        os.unlink(self.drive / "file")
        self.refused(errno.ENOENT, os.open, f"/proc/self/fd/{known}", os.O_RDONLY)
        self.refused(errno.ENOENT, os.truncate, f"/proc/self/fd/{known}", 0)
        self.refused(errno.ENOENT, os.utime, f"/proc/self/fd/{known}")
        os.close(known)

    def test_removed_open_folder_and_racing_names(self):
        self.mount()
        (self.drive / "folder").mkdir()
        folder = os.open(self.drive / "folder", os.O_RDONLY)
        os.rmdir(self.drive / "folder")
        self.assertEqual(os.fstat(folder).st_nlink, 0)
        os.close(folder)
        unexpected = []

        def race(seed):
            for i in range(150):
                name = self.drive / f"name{(seed + i) % 3}"
                try:
                    if i % 3 == 0:
                        os.close(os.open(name, os.O_WRONLY | os.O_CREAT | os.O_TRUNC))
                    elif i % 3 == 1:
                        os.rename(name, self.drive / f"name{(seed * i) % 3}")
                    else:
                        os.unlink(name)
                except FileNotFoundError:
                    pass
                except OSError as error:
                    unexpected.append(str(error))

        racers = [threading.Thread(target=race, args=(seed,)) for seed in range(16)]
        for racer in racers:
            racer.start()
        for racer in racers:
            racer.join(60)
        self.assertEqual(unexpected, [])
        self.assertEqual(sorted(os.listdir(self.drive)), sorted(os.listdir(self.root)))

    def test_inode_numbers_are_of_the_path(self):
        for name in ("a", "b", "folder/c"):
            (self.root / name).parent.mkdir(exist_ok=True)
            (self.root / name).write_bytes(b"x")

        def numbers():
            listed, examined = {}, {}
            for folder in (self.drive, self.drive / "folder"):
                with os.scandir(folder) as entries:
                    for entry in entries:
                        listed[entry.path] = entry.inode()
                        examined[entry.path] = os.stat(entry.path).st_ino
            self.assertEqual(listed, examined)
            self.assertEqual(len(set(listed.values())), 4)
            return listed

        mount = self.mount()
        before = numbers()
        self.ends_with(0, mount)
        self.mount()
        self.assertEqual(numbers(), before)

    def test_ends_while_programs_have_files_open(self):
        (self.root / "folder").mkdir()
        (self.root / "read").write_bytes(b"older")
        mount = self.mount()
        with os.scandir(self.drive) as listing, open(self.drive / "read", "rb") as reader, \
                open(self.drive / "written", "wb", buffering=0) as writer:
            next(listing)
            reader.read(1)
            writer.write(b"newer")
            self.ends_with(0, mount)
            with contextlib.suppress(OSError):
                writer.close()
        self.assertEqual((self.root / "written").read_bytes(), b"newer")

    def test_ends_at_any_moment_of_its_start(self):
        for i in range(24):
            mount = self.mount(waits=False)
            if i % 2 == 0:  # the moment it shows
                while not is_mounted(self.drive) and mount.process.poll() is None:
                    pass
            else:
                time.sleep(i * 0.001)
            mount.process.terminate()
            code = mount.process.wait(60)
            # Before there is anything to undo the signal just ends the process.
            self.assertIn(code, (0,) if i % 2 == 0 else (0, 130, -signal.SIGTERM), mount.said())
            self.assertFalse(is_mounted(self.drive))
            self.assertEqual(list(self.cache.iterdir()), [])

    def test_end_leaves_nothing_of_removed_files_that_programs_have_open(self):
        for name in ("removed", "replaced"):
            (self.root / name).write_bytes(b"o" * 3_000_000)
        (self.root / "new").write_bytes(b"n")
        (self.root / "folder").mkdir()
        mount = self.mount()
        with os.scandir(self.drive / "folder") as listing, open(self.drive / "removed", "rb") as removed, \
                open(self.drive / "replaced", "rb") as replaced:
            next(listing, None)
            os.rmdir(self.drive / "folder")
            os.unlink(self.drive / "removed")
            os.rename(self.drive / "new", self.drive / "replaced")
            self.assertEqual(len(removed.read()) + len(replaced.read()), 6_000_000)
            self.ends_with(0, mount)
        self.assertEqual([path.name for path in self.root.iterdir()], ["replaced"])
        self.assertEqual(list(self.cache.iterdir()), [])


def main():
    if not os.access("/dev/fuse", os.W_OK):
        print("SKIPPED: no access to /dev/fuse")
        return 77
    signal.alarm(240)  # whatever hangs
    try:
        (BASE / "root").mkdir()
        with Mount(BASE / "root", BASE / "try", BASE) as mount:
            mount.end()
    except OSError as error:
        print(f"SKIPPED: can't mount here: {error}")
        return 77
    return 0 if unittest.main(exit=False, verbosity=2).result.wasSuccessful() else 1


try:
    CODE = main()
finally:
    shutil.rmtree(BASE, ignore_errors=True)
sys.exit(CODE)
