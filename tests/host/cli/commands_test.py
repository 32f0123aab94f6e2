"""Every command of the host as a person uses it, with bad input too: commands_test.py HOST MODULE."""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

HOST, MODULE = sys.argv[1:3]


class Commands(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="localdisk-host-")
        self.addCleanup(shutil.rmtree, self.folder)
        os.chdir(self.folder)

    def write(self, name, content=b""):
        pathlib.Path(name).parent.mkdir(parents=True, exist_ok=True)
        pathlib.Path(name).write_bytes(content)

    def host(self, *args, code=0, zone="UTC0", **options):
        result = subprocess.run([HOST, "--module", MODULE, *args], capture_output=True, timeout=60,
                                env={**os.environ, "TZ": zone}, **options)
        self.assertEqual(result.returncode, code, (args, result.stdout[-2000:], result.stderr))
        if code:  # one line that says what, where and why
            self.assertEqual(len(result.stderr.decode(errors="replace").strip().splitlines()), 1, result.stderr)
        return (result.stderr if code else result.stdout).decode(errors="surrogateescape")

    def test_info(self):
        text = self.host("info", "--root", self.folder)
        for expected in ("protocol    localdisk\n", "auth type   0\n", "features    0x40\n", f"root        {self.folder}\n",
                         "quota       ", "in use      ", "credential  pid = localdisk-host-"):
            self.assertIn(expected, text)
        self.assertIn("quota       unknown", self.host("info"))
        self.assertIn("FS_ERR_OPERATION_FAILED (24), No such file", self.host("info", "--root", "none", code=1))

    def test_listing_keeps_every_name(self):
        odd = os.fsdecode(b"\xff\xc3(\n.txt")
        for name in ("a.txt", "B.TXT", ".hidden", odd, "sub/inner"):
            self.write(name, b"12")
        self.assertIn(odd, self.host("ls", "."))
        entries = [json.loads(line) for line in self.host("ls", "--json", ".").splitlines()]
        names = {os.fsdecode(bytes.fromhex(e["name_hex"])) if "name_hex" in e else e["name"] for e in entries}
        self.assertEqual(names, {"a.txt", "B.TXT", ".hidden", odd, "sub"})
        self.assertEqual({e["type"] for e in entries if e["name"] == "sub"}, {"folder"})
        matched = lambda *args: {line.split()[-1] for line in self.host("ls", ".", *args).splitlines()}
        self.assertEqual(matched("--match", "?.TXT"), {"B.TXT"})
        self.assertEqual(matched("--match", "?.TXT", "--ignore-case"), {"a.txt", "B.TXT"})
        described = json.loads(self.host("stat", "--json", "sub/../a.txt"))
        self.assertEqual((described["path"], described["size"]), (os.path.realpath("a.txt"), 2))
        self.assertIn("size      2 bytes", self.host("stat", "a.txt"))
        for command in ("ls", "stat"):
            self.assertIn("FS_ERR_NOT_FOUND (19), No such file or directory", self.host(command, "none", code=1))

    def test_cat(self):
        content = bytes(range(256)) * 4096
        self.write("f", content)
        run = lambda *args: subprocess.run([HOST, "--module", MODULE, "cat", "f", *args], capture_output=True)
        self.assertEqual(run().stdout, content)
        self.assertEqual(run("--offset", "1000", "--length", "600000").stdout, content[1000:601000])
        past = run("--offset", "1048570", "--length", "100")
        self.assertEqual((past.returncode, past.stdout), (1, content[-6:]))
        self.assertIn(b"FS_ERR_READ (10)", past.stderr)
        self.assertIn("is a folder", self.host("cat", ".", code=1))
        with open("/dev/full", "wb") as full:
            result = subprocess.run([HOST, "--module", MODULE, "cat", "f"], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(result.returncode, 1)  # and not 130: nobody interrupted
        self.assertIn(b"No space left", result.stderr)

    def test_copies_with_times(self):
        for zone in ("UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "XST-5:45"):
            for when in (1705320000, 1719835199, -86400):
                self.write("tree/sub/f", os.urandom(600000))
                self.write("tree/empty")
                os.utime("tree/sub/f", (when, when))
                self.host("put", "-r", "tree", "copy", zone=zone)
                self.host("get", "-r", "copy", "back", zone=zone)
                for copy in ("copy", "back"):
                    self.assertEqual(os.stat(f"{copy}/sub/f").st_mtime, when, zone)
                    self.assertEqual(pathlib.Path(f"{copy}/sub/f").read_bytes(), pathlib.Path("tree/sub/f").read_bytes())
                    self.assertTrue(os.path.exists(f"{copy}/empty"))
                shutil.rmtree("copy"), shutil.rmtree("back")
        self.write("f", b"new")
        os.mkdir("to")
        self.host("put", "f", "to")
        self.host("get", "to/f", "g")
        self.assertEqual(pathlib.Path("g").read_bytes(), b"new")

    def test_copies_that_fail(self):
        self.write("f", b"abc")
        self.write("g", b"older")
        os.mkdir("dir")
        os.symlink("/dev/full", "full")
        for arguments, reason in ((("get", "none", "x"), "none: no such file or folder"), (("get", "dir", "x"), "-r"),
                                  (("put", "dir", "x"), "-r"), (("put", "none", "x"), "no such file"),
                                  (("put", "f", "none/x"), "FS_ERR_NOT_FOUND (19)"), (("get", "f", "none/x"), "none/x"),
                                  (("put", "f", "full"), "is a device")):
            self.assertIn(reason, self.host(*arguments, code=1))
        self.assertEqual(sorted(os.listdir(".")), ["dir", "f", "full", "g"])
        self.write("loop/f", b"1")
        os.symlink(".", "loop/again")
        os.mkfifo("loop/fifo")
        result = subprocess.run([HOST, "--module", MODULE, "get", "-r", "loop", "out"], capture_output=True, timeout=20)
        self.assertEqual((result.returncode, sorted(os.listdir("out"))), (0, ["f"]))
        self.assertEqual(result.stderr.count(b"passed over"), 2)

    def test_interrupted(self):
        with open("big", "wb") as big:
            big.truncate(1 << 40)
        for arguments in (("get", "big", "copy"), ("put", "big", "copy")):
            process = subprocess.Popen([HOST, "--module", MODULE, *arguments], stderr=subprocess.PIPE)
            deadline = time.monotonic() + 20
            self.addCleanup(process.kill)
            while not any(name != "big" and os.path.getsize(name) for name in os.listdir(".")):
                self.assertLess(time.monotonic(), deadline)
            process.send_signal(signal.SIGINT)
            error = process.communicate(timeout=20)[1]
            self.assertEqual((process.returncode, b"cancelled" in error), (130, True), error)
            self.assertEqual(os.listdir("."), ["big"])  # what was copied so far is gone with its own name

    def test_changes(self):
        self.write("a/f", b"1")
        self.write("outside/kept", b"1")
        os.symlink(os.path.abspath("outside"), "a/link")
        self.host("mv", "a/f", "a/g")
        self.host("mkdir", "-p", "b/c/d")
        self.host("mkdir", "-p", "b/c")
        self.host("mv", "a", "b")
        self.assertEqual(sorted(os.listdir("b/a")), ["g", "link"])
        for arguments, reason in ((("mkdir", "b"), "exists already"), (("mkdir", "x/y"), "FS_ERR_NOT_FOUND"),
                                  (("mkdir", "-p", "b/a/g"), "exists already"), (("rm", "b"), "FS_ERR_OPERATION_FAILED"),
                                  (("rm", "none"), "none: no such file or folder"), (("rm", "-r", "/"), "not for removing"),
                                  (("mv", "none", "x"), "none: no such file or folder"), (("mv", "b", "b/c"), "into itself")):
            self.assertIn(reason, self.host(*arguments, code=1))
        self.host("rm", "-r", "b")
        self.host("rm", "outside/kept")
        self.assertEqual(os.listdir("."), ["outside"])

    def test_touch(self):
        for zone in ("UTC0", "EST5EDT,M3.2.0,M11.1.0"):
            self.host("touch", "t", "--modified", "2024-07-01T12:00:00Z", "--accessed", "2024-01-01T00:00:00+01:00",
                      zone=zone)
            self.assertEqual((os.stat("t").st_mtime, os.stat("t").st_atime), (1719835200, 1704063600))
            self.host("touch", "t", "--modified", "2 days ago", zone=zone)
            self.assertLess(abs(time.time() - 2 * 86400 - os.stat("t").st_mtime), 3)
            self.assertEqual(os.stat("t").st_atime, 1704063600)
            self.host("touch", "t", zone=zone)
            self.assertLess(abs(time.time() - os.stat("t").st_mtime), 3)
        self.host("touch", "new", "--modified", "no such word", code=2)
        self.assertFalse(os.path.exists("new"))

    def test_dates_and_settings(self):
        text = self.host("date", "Thu, 14 Feb 2008 20:30:45 +0100")
        self.assertIn("strict       2008-02-14T19:30:45Z, 000000 microseconds, offset +01:00", text)
        self.assertIn("approximate  2008-02-14T19:30:45Z", text)
        self.assertIn("ISO 8601     2021-07-01T12:00:00Z", self.host("date", "2021-07-01T14:00:00+02:00"))
        self.write("s.ini", b"[Net]\nPort=80\nname=-1\n")
        for arguments, value in ((("Port",), "80"), (("PORT", "--int"), "80"), (("name", "--int"), "4294967295"),
                                 (("none", "--default", "d"), "d"), (("none", "--int"), "0")):
            self.assertEqual(self.host("profile", "s.ini", "net", *arguments), value + "\n")
        self.assertIn("no value for 'none'", self.host("profile", "s.ini", "net", "none", code=1))
        self.assertIn("No such file", self.host("profile", "none", "net", "x", code=1))
        self.host("profile", "s.ini", "net", "x", "--int", "--default", "seven", code=2)

    def test_demo(self):
        for name in ("x/y/z", os.fsdecode(b"\xff"), "sub/.dot", "big"):
            self.write(name, os.urandom(700000))
        text = self.host("demo", ".")
        self.assertIn("written  4 files, 4 folders", text)
        self.assertIn("no difference", text)

    def test_usage(self):
        for arguments in ((), ("ls",), ("nonsense",), ("cat", "f", "--offset", "-1"), ("ls", ".", "--ignore-case")):
            result = subprocess.run([HOST, *arguments], capture_output=True)
            self.assertEqual(result.returncode, 2, arguments)
            self.assertTrue(result.stderr)
        self.assertEqual(subprocess.run([HOST, "--help"], capture_output=True).returncode, 0)
        for module in ("none.so", "/bin/sh"):
            result = subprocess.run([HOST, "--module", module, "info"], capture_output=True)
            self.assertEqual((result.returncode, result.stderr.count(b"\n")), (2, 1))
        self.write("f")
        result = subprocess.run([HOST, "--verbose", "--module", MODULE, "put", "f", "g"], capture_output=True)
        self.assertIn(b"log 2: [PROTOCOL  ] Upload ", result.stderr)


unittest.main(argv=sys.argv[:1])
