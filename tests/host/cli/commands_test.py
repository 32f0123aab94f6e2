"""Every command of the host as a person uses it, with bad input too: commands_test.py HOST MODULE."""
import json
import os
import pathlib
import pty
import shutil
import subprocess
import sys
import time
import unittest

from tool import HOST, MODULE, ToolTest, main

CENTRAL_EUROPE = "CET-1CEST,M3.5.0,M10.5.0/3"


class Commands(ToolTest):
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
        described = self.host("stat", "a.txt", "sub")
        for line in ("size      2 bytes, 2 B\n", "type      file\n", "\n\nname      sub\n", "type      folder\n"):
            self.assertIn(line, described)
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
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"No space left", result.stderr)

    def test_copies_with_times(self):
        for zone in ("UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "XST-5:45"):
            for when in (1705320000, 1719835199, -86400):
                self.write("tree/sub/f", os.urandom(600000))
                self.write("tree/empty")
                for path in ("tree/sub/f", "tree/sub", "tree"):
                    os.utime(path, (when, when))
                self.host("put", "-r", "tree", "copy", zone=zone)
                self.host("get", "-r", "copy", "back", zone=zone)
                for copy in ("copy", "back"):
                    for path in (copy, f"{copy}/sub", f"{copy}/sub/f"):
                        self.assertEqual(os.stat(path).st_mtime, when, (zone, path))
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
        os.mkdir("dir")
        for arguments, reason in ((("get", "none", "x"), "FS_ERR_NOT_FOUND (19)"), (("get", "dir", "x"), "-r"),
                                  (("put", "dir", "x"), "-r"), (("put", "none", "x"), "No such file"),
                                  (("put", "f", "none/x"), "FS_ERR_NOT_FOUND (19)"), (("get", "f", "none/x"), "none/x"),
                                  (("put", "f", "f", "x"), "no folder"), (("get", "f", "x/"), "no folder"),
                                  (("put", "-", "dir"), "is a folder"), (("get", "dir", "-"), "is a folder")):
            options = dict(lines=3) if arguments == ("put", "f", "f", "x") else {}
            self.assertIn(reason, self.host(*arguments, code=1, **options))
        self.assertEqual(sorted(os.listdir(".")), ["dir", "f"])
        self.write("loop/f", b"1")
        os.symlink(".", "loop/again")
        os.mkfifo("loop/fifo")
        for command in ("get", "put"):
            result = self.run_tool(command, "-r", "loop", command)
            self.assertEqual((result.returncode, os.listdir(command)), (0, ["f"]))
            self.assertEqual(result.stderr.count(b"skipped"), 2)
            self.assertEqual(self.run_tool("-q", command, "-r", "loop", command).stderr, b"")

    def test_several_paths_and_streams(self):
        self.write("a", b"first")
        self.write("b", b"second")
        self.host("mkdir", "x", "y")
        for command in ("put", "get", "mv"):
            self.host(command, "a", "b", "x")
            self.assertEqual((self.read("x/a"), self.read("x/b")), (b"first", b"second"))
        self.assertFalse(os.path.exists("a"))
        self.assertEqual(self.host("cat", "x/a", "x/b"), "firstsecond")
        self.assertEqual(self.host("get", "x/b", "-"), "second")
        self.host("put", "-", "y/input", input=b"from a pipe")
        self.assertEqual(self.read("y/input"), b"from a pipe")
        self.assertIn("1 of 3 entries failed", self.host("rm", "x/a", "x/none", "x/b", code=1, lines=2))
        self.assertEqual(os.listdir("x"), [])

    def test_ls_as_people_know_it(self):
        for name, size, when in (("b", 3000, 200), ("a", 10, 300), ("c", 500, 100), ("sub/d", 1, 50)):
            self.write(name, bytes(size), when)
        os.utime("sub", (400, 400))
        names = lambda *arguments: self.host("ls", "-1", *arguments).splitlines()
        self.assertEqual(names("."), ["a", "b", "c", "sub"])
        self.assertEqual(names("-r", "."), ["sub", "c", "b", "a"])
        self.assertEqual(names("-S", "a", "b", "c"), ["a", "b", "c"])
        self.assertEqual([name for name in names("-S", ".") if name != "sub"], ["b", "c", "a"])
        self.assertEqual(names("-t", "."), ["sub", "a", "b", "c"])
        self.assertEqual(names("-R", "."), [".:", "a", "b", "c", "sub", "", "./sub:", "d"])
        self.assertEqual(names("c", "sub"), ["c", "sub:", "d"])
        self.assertEqual(self.host("ls", "b", zone=CENTRAL_EUROPE),
                         "file             3000 1970-01-01T01:03:20+01:00  b\n")
        self.assertIn(" 2.9 KiB ", self.host("ls", "-h", "b"))

    def test_names_do_nothing_to_a_terminal(self):
        odd = "a\x1b[31m\nb\u00fc" + os.fsdecode(b"\xff")
        shown = "a\\x1b[31m\\x0ab\u00fc\\xff"
        self.write(odd)
        self.assertEqual(self.host("ls", "-1", "."), odd + "\n")
        self.assertIn(shown + "x", self.host("cat", odd + "x", code=1))
        master, slave = pty.openpty()
        subprocess.run([HOST, "--module", MODULE, "ls", "-1", "."], stdout=slave, check=True)
        os.close(slave)
        self.assertEqual(os.read(master, 1000).decode(), shown + "\r\n")
        os.close(master)

    def test_times_are_instants(self):
        self.write("f")
        for zone in ("UTC0", CENTRAL_EUROPE, "EST5EDT,M3.2.0,M11.1.0", "XST-5:45"):
            for when in (1721044800, 1705320000, 1729989000, 1729992600, -86400):
                os.utime("f", (when, when))
                told = json.loads(self.host("stat", "--json", "f", zone=zone))["mtime"]
                self.assertRegex(told, r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
                self.host("touch", "f", "--modified", told, zone=zone)
                self.assertEqual(json.loads(self.host("stat", "--json", "f", zone=zone))["mtime"], told)
                twice = zone == CENTRAL_EUROPE and when == 1729992600
                self.assertEqual(os.stat("f").st_mtime, when - (3600 if twice else 0))
        os.utime("f", (1721044800, 1721044800))
        self.assertIn("modified  2024-07-15T14:00:00+02:00\n", self.host("stat", "f", zone=CENTRAL_EUROPE))

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
                                  (("rm", "none"), "FS_ERR_NOT_FOUND (19)"), (("rm", "-r", "/"), "not for removing"),
                                  (("mv", "none", "x"), "FS_ERR_NOT_FOUND (19)"), (("mv", "b", "b/c"), "into itself"),
                                  (("mv", "outside", "x/y"), f"{self.folder}/x: no such folder"),
                                  (("ls", ""), "empty path"), (("put", "", "x"), "empty path"), (("rm", ""), "empty path")):
            self.assertIn(reason, self.host(*arguments, code=1))
        # A slip of a dot takes nothing with it.
        before, here = self.state(), os.getcwd()
        os.chdir("b/c/d")
        for path in (".", "..", "./", "../", "../d/.", "../../c/.."):
            for options in ((), ("-r",)):
                self.assertIn("not for removing", self.host("rm", *options, path, code=1))
        os.chdir(here)
        self.assertEqual(self.state(), before)
        self.host("rm", "-r", "b")
        self.host("rm", "outside/kept")
        self.assertEqual(os.listdir("."), ["outside"])

    def test_touch(self):
        for zone in ("UTC0", "EST5EDT,M3.2.0,M11.1.0"):
            self.host("touch", "t", "--modified", "2024-07-01T12:00:00Z", "--accessed", "2024-01-01T00:00:00+01:00",
                      zone=zone)
            self.assertEqual((os.stat("t").st_mtime, os.stat("t").st_atime), (1719835200, 1704063600))
            for arguments, back in ((("--modified", "2 days ago"), 2 * 86400), ((), 0)):
                before = int(time.time())
                self.host("touch", "t", "u", *arguments, zone=zone)
                for path in ("t", "u"):
                    self.assertTrue(before <= os.stat(path).st_mtime + back <= time.time(), (zone, path))
                if back:
                    self.assertEqual(os.stat("t").st_atime, 1704063600)
        for text, instant in (("1902-01-01T00:00:00Z", -2145916800), ("2400-06-01T12:00:00.5+02:00", 13582634400),
                              ("2024-07-01 14:00:00", 1719835200), ("14 Feb 2008 20:30:45 +0100", 1203017445),
                              ("Thu, 14 Feb 2008 20:30:45 +0100", 1203017445)):
            self.host("touch", "t", "--modified", text, zone=CENTRAL_EUROPE)
            self.assertEqual(os.stat("t").st_mtime, instant, text)
        # Read exactly in any case; not every file system goes as far.
        far = self.run_tool("touch", "t", "--modified", "2500-01-01T00:00:00Z")
        self.assertTrue(os.stat("t").st_mtime == 16725225600 or b"can't keep that time" in far.stderr, far)
        for text in ("noon", "last friday 5pm", "3.days.ago", "10am yesterday", "two weeks ago", "Dec 25"):
            self.host("touch", "t", "--modified", text)
        for text in ("no such word", "", "2024-02-30T12:00:00Z", "2024-13-01T00:00:00Z", "2024-01-01T25:00:00Z",
                     "2024-07-01T12:00:00+2", "2024-07-01T12:00:00Zulu", "2024-03-31T02:30:00", "31 Feb 2024", "30.02.2024",
                     "14 Feb 1950", "14 Feb 2150", "tomorrow", "next friday 5pm", "monday 5pm", "5pm foo",
                     "an hour 5pm", "12:99", "10:30:61", "Fri, 14 Feb 2008 20:30:45 +0100"):
            error = self.host("touch", "new", "--modified", text, code=2, zone=CENTRAL_EUROPE)
            self.assertIn(f"'{text}'", error)
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
        self.assertIn("again    nothing to copy", text)
        self.assertIn("no difference", text)

    def test_usage(self):
        for arguments, named in (((), "command"), (("ls",), "PATH"), (("frob",), "no command 'frob'"), (("LS", "."), "'LS'"),
                                 (("cat", "f", "--offset", "-1"), "'-1'"), (("cat", "f", "--length", "9" * 30), "9999"),
                                 (("ls", ".", "--ignore-case"), "--match"), (("ls", ".", "--frob"), "'--frob'"),
                                 (("info", "b"), "'b'"), (("help", "frob"), "'frob'")):
            error = self.host(*arguments, code=2)
            self.assertIn(named, error)
            self.assertLess(len(error), 200)
        for arguments in (("--help",), ("help",), ("help", "sync"), ("--version",)):
            self.assertTrue(self.host(*arguments))
            with open("/dev/full", "wb") as full:
                result = subprocess.run([HOST, *arguments], stdout=full, stderr=subprocess.PIPE)
            self.assertEqual((result.returncode, b"No space left" in result.stderr), (1, True), arguments)
        self.write("f")
        result = self.run_tool("--verbose", "put", "f", "g")
        self.assertIn(b"log 2: [PROTOCOL  ] Upload ", result.stderr)

    def test_modules_that_are_none(self):
        content = pathlib.Path(MODULE).read_bytes()
        self.write("text.so", b"no module\n" * 1000)
        self.write("empty.so")
        number = lambda at: int.from_bytes(content[at:at + 8], "little")
        headers = range(number(32), number(32) + content[56] * 56, 56)
        loaded = max(number(at + 8) + number(at + 32) for at in headers if content[at:at + 4] == b"\1\0\0\0")
        for share in (2, 3, 50, 1000):  # of what is loaded, for behind it may stand much that is not
            self.write(f"cut-{share}.so", content[:loaded // share])
        for module in ("none.so", "/bin/sh", "text.so", "empty.so", "cut-2.so", "cut-3.so", "cut-50.so", "cut-1000.so"):
            result = subprocess.run([HOST, "--module", module, "info"], capture_output=True)
            self.assertEqual((result.returncode, result.stderr.count(b"\n")), (2, 1), (module, result.stderr))

        result = subprocess.run([HOST, "--module", sys.argv[3], "info"], capture_output=True)
        self.assertEqual((result.returncode, result.stderr.count(b"\n")), (2, 1), result.stderr)
        self.assertRegex(result.stderr, b"built for lib(c|stdc)[+][+], this host for lib(c|stdc)[+][+]")

    # It offers neither utilities nor a volume, and its entries are not those of this machine.
    @unittest.skipIf(len(sys.argv) < 5 or not sys.argv[4], "the example module isn't built")
    def test_a_module_that_keeps_its_entries_elsewhere(self):
        tool = lambda *arguments: subprocess.run([HOST, "--module", sys.argv[4], *arguments], capture_output=True)
        self.write("f", b"content")
        for arguments in (("info",), ("ls", "/"), ("put", "f", "/"), ("sync", "--dry-run", ".", "/copy"), ("put", "f", "/f"),
                          ("touch", "/x")):
            result = tool(*arguments)
            self.assertEqual((result.returncode, result.stderr), (0, b""), arguments)
        self.assertIn(b"FS_ERR_NOT_FOUND", tool("cat", "f").stderr)

    def test_reasons_are_true(self):
        os.mkdir("closed", 0o555)
        own = dict(preexec_fn=lambda: (os.setgid(65534), os.setuid(65534))) if os.geteuid() == 0 else {}
        os.chmod(".", 0o755)
        self.assertIn("Permission denied", self.host("mkdir", "closed/x", code=1, **own))
        self.assertIn("File name too long", self.host("mkdir", "n" * 256, code=1))
        mount = 'mount -t tmpfs -o ro none closed && exec "$@"'
        mounted = lambda *command: subprocess.run(["unshare", "--map-root-user", "--mount", "sh", "-c", mount, "sh", *command],
                                                  capture_output=True)
        if mounted("true").returncode == 0:
            result = mounted(HOST, "--module", MODULE, "mkdir", "closed/x")
            self.assertEqual((result.returncode, b"Read-only file system" in result.stderr), (1, True), result.stderr)

    @unittest.skipIf(shutil.which("bash") is None, "without bash there is nothing to complete in")
    def test_completion(self):
        for name in ("file", "folder/inner"):
            self.write(name)
        script = pathlib.Path(__file__).resolve().parents[3] / "packaging/completion.bash"
        complete = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _localdisk; printf "%s\\n" "${COMPREPLY[@]}"'
        for words, expected in ((("sy",), ["sync"]), (("help", "mo"), ["mount"]), (("cat", "f"), ["file", "folder"]),
                                (("sync", "f"), ["folder"]), (("mkdir", "f"), ["folder"]), (("rm", "fi"), ["file"]),
                                (("info", "--root", "f"), ["folder"]), (("--module", "fi"), ["file"]),
                                (("sync", "--dr"), ["--dry-run"]), (("--module", "file", "-q", "ls", "--ma"), ["--match"]),
                                (("ls", "--match", "f"), [""])):
            result = subprocess.run(["bash", "-c", complete, "bash", script, HOST, *words], capture_output=True, text=True)
            self.assertEqual(sorted(result.stdout.splitlines()), expected, (words, result.stderr))


main()
