"""The tool loses nothing by a slip: safety_test.py HOST MODULE SHORT_WRITES, a library that lets writes end early."""
import os
import pathlib
import pty
import resource
import shutil
import signal
import subprocess
import sys
import time
import unittest

from tool import HOST, MODULE, ToolTest, main

SHORT_WRITES = sys.argv[3]


def limit(kind, bytes):
    def apply():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(kind, (bytes, bytes))
    return apply


def short_writes(**more):
    """The environment for them; the library's own path may have a blank, at which the loader would cut it."""
    shutil.copy(SHORT_WRITES, "short_writes.so")
    return {"LD_PRELOAD": "./short_writes.so", "ASAN_OPTIONS": "verify_asan_link_order=0", **more}


class Safety(ToolTest):
    def test_nothing_is_copied_onto_or_into_itself(self):
        self.write("p", b"content")
        self.write("d/f", b"inner")
        os.makedirs("d/inside")
        os.link("p", "hard")
        os.symlink("p", "soft")
        os.symlink("d/inside", "way")
        before = self.state()
        same = "are the same file"
        for arguments, reason in (
                (("put", "p", "p"), same), (("put", "d/f", "d/f/"), same), (("get", "p", "p"), same),
                (("get", "p", "d/../p"), same), (("get", "p", "soft"), same), (("get", "soft", "p"), same),
                (("put", "p", "hard"), same), (("get", "p", "hard"), same), (("mv", "p", "hard"), same),
                (("mv", "soft", "p"), same), (("mv", "d/f", "d"), same), (("sync", "d", "d"), same),
                (("put", "-r", "d", "d/inside"), "into itself"), (("get", "-r", "d", "d/inside"), "into itself"),
                (("put", "-r", "d", "d"), "into itself"), (("put", "-r", "d", "way/x"), "into itself"),
                (("mv", "d", "d/inside"), "into itself"), (("mv", "d", "way"), "into itself"),
                (("sync", "--delete", "d", "d/inside"), "into itself"),
                (("sync", "--delete", "d/inside", "d"), "into itself"),
                (("sync", "--down", "--delete", "d/inside", "d"), "into itself")):
            self.assertIn(reason, self.host(*arguments, code=1), arguments)
            self.assertEqual(self.state(), before, arguments)

    def test_what_is_neither_file_nor_folder_stays(self):
        self.write("f", b"abc")
        os.mkfifo("pipe")
        os.symlink("/dev/full", "full")
        os.symlink("nowhere", "lost")
        before = self.state()
        for arguments, reason in ((("put", "f", "pipe"), "is a pipe"), (("get", "f", "pipe"), "is a pipe"),
                                  (("mv", "f", "pipe"), "is a pipe"), (("put", "f", "full"), "is a device"),
                                  (("get", "f", "full"), "is a device"), (("put", "pipe", "x"), "is a pipe"),
                                  (("get", "pipe", "x"), "is a pipe"), (("mv", "pipe", "x"), "is a pipe"),
                                  (("rm", "pipe"), "is a pipe"), (("cat", "pipe"), "is a pipe"),
                                  (("rm", "lost"), "leads nowhere")):
            self.assertIn(reason, self.host(*arguments, code=1), arguments)
            self.assertEqual(self.state(), before, arguments)

    def test_a_full_disk_leaves_the_old_file(self):
        self.write("new", os.urandom(3000000))
        for command in ("put", "get"):
            for old in (None, b"older"):
                os.makedirs("to", exist_ok=True)
                if old:
                    self.write("to/new", old)
                before = self.state("to")
                text = self.host(command, "new", "to", code=1, preexec_fn=limit(resource.RLIMIT_FSIZE, 1500001))
                self.assertIn("File too large", text)
                self.assertIn(f"{self.folder}/to/new", text)  # never the name of what isn't whole
                self.assertEqual(self.state("to"), before)
        # In a tree the others still arrive, and the end counts.
        self.write("tree/sub/large", bytes(3000000))
        self.write("tree/a", b"1")
        self.write("tree/z", b"2")
        for command in ("put", "get"):
            text = self.host(command, "-r", "tree", command, code=1, lines=2,
                             preexec_fn=limit(resource.RLIMIT_FSIZE, 1500001))
            self.assertIn("1 of 5 entries failed", text)
            self.assertEqual((self.read(f"{command}/a"), self.read(f"{command}/z")), (b"1", b"2"))
            self.assertEqual(os.listdir(f"{command}/sub"), [])

    def test_writes_that_end_early(self):
        content = os.urandom(1300003)
        self.write("f", content)
        environment = short_writes()
        for command in ("put", "get"):
            result = self.run_tool(command, "f", command, environment=environment)
            self.assertEqual((result.returncode, result.stderr), (0, b""))
            self.assertEqual(self.read(command), content)
        self.host("put", "-", "from-input", environment=environment, input=content)
        self.assertEqual(self.read("from-input"), content)

    def test_signals_leave_nothing_behind(self):
        with open("big", "wb") as big:
            big.truncate(1 << 40)
        os.mkdir("to")
        for sent in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            for command in ("get", "put"):
                self.write("to/big", b"older")
                process = subprocess.Popen([HOST, "--module", MODULE, command, "big", "to"], stderr=subprocess.PIPE)
                deadline = time.monotonic() + 300
                while not any(name != "big" and os.path.getsize("to/" + name) for name in os.listdir("to")):
                    self.assertLess(time.monotonic(), deadline)
                process.send_signal(sent)
                error = process.communicate(timeout=300)[1]
                self.assertEqual((process.returncode, error), (130, b"localdisk-host: cancelled\n"), (sent, command))
                self.assertEqual((os.listdir("to"), self.read("to/big")), (["big"], b"older"))
        # While it waits for input, and while nobody reads what it prints.
        for number in range(1000):
            self.write(f"many/{number}-{'n' * 240}")
        for arguments in (("put", "-", "x"), ("cat", "big"), ("ls", "-1", "many"), ("ls", "--json", "many"),
                          ("sync", "--dry-run", "many", "x")):
            process = subprocess.Popen([HOST, "--module", MODULE, *arguments], stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            # More than a pipe holds goes in only when it reads, and something comes out only when it is at work.
            process.stdin.write(bytes(1 << 20)) if arguments[0] == "put" else os.read(process.stdout.fileno(), 1)
            process.send_signal(signal.SIGINT)
            process.stdout.read()
            process.wait(timeout=300)
            self.assertEqual(process.returncode, 130, arguments)
            for stream in (process.stdin, process.stdout, process.stderr):
                stream.close()
        self.assertFalse(os.path.exists("x"))

    def test_progress_is_of_all_there_is_and_for_terminals(self):
        for name in ("tree/one", "tree/sub/two"):
            self.write(name, bytes(1 << 20))
        slow = short_writes(SLOW_WRITES="1")
        for command in (("put", "-r"), ("get", "-r"), ("sync",)):
            master, slave = pty.openpty()
            process = subprocess.Popen([HOST, "--module", MODULE, *command, "tree", command[0]], stdout=subprocess.PIPE,
                                       stderr=slave, env={**os.environ, **slow})
            os.close(slave)
            shown = b""
            try:
                while part := os.read(master, 1000):
                    shown += part
            except OSError:  # the other end is closed
                pass
            os.close(master)
            process.communicate()
            self.assertEqual(process.returncode, 0)
            self.assertRegex(shown, rb"\rtwo  \d+%  [\d.]+ .?i?B of 2\.0 MiB  [\d.]+ .?i?B/s  \d+:\d\d:\d\d left")
            self.assertTrue(shown.endswith(b"\r\x1b[K"), shown[-100:])
        self.assertEqual(self.run_tool("put", "-r", "tree", "elsewhere", environment=slow).stderr, b"")

    def test_names_as_long_as_they_may_be(self):
        for name in ("n" * 255, "ü" * 127, "n" * 240):
            self.write(f"from/{name}", b"1")
            self.host("put", f"from/{name}", name)
            self.host("get", name, "from/copy")
            self.host("get", "from/copy", name)
            self.assertEqual((self.read(name), self.read("from/copy")), (b"1", b"1"))

    def test_trees_deeper_than_a_path(self):
        os.mkdir("deep")
        start = os.open(".", os.O_RDONLY)
        os.chdir("deep")
        for _ in range(60):
            os.mkdir("n" * 200)
            os.chdir("n" * 200)
            pathlib.Path("f").touch()
        os.fchdir(start)
        os.close(start)
        self.host("rm", "-r", "deep")
        self.assertEqual(os.listdir("."), [])

    def test_large_folders_in_little_memory(self):
        count, memory = 200000, 100 << 20
        if self.run_tool("--version", preexec_fn=limit(resource.RLIMIT_AS, memory)).returncode != 0:
            self.skipTest("a sanitizer's memory can't be limited")
        os.makedirs("large")
        for number in range(count):
            os.mknod(f"large/file-{number:030}")
        bounded = dict(preexec_fn=limit(resource.RLIMIT_AS, memory))
        text = self.host("sync", "--dry-run", "large", "copy", **bounded)
        self.assertEqual(text.splitlines()[-1].split()[2], str(count))
        self.assertEqual(len(self.host("ls", "-1", "large", **bounded).splitlines()), count)
        self.host("rm", "-r", "large", **bounded)
        self.assertEqual(os.listdir("."), [])

    @unittest.skipIf(os.geteuid() == 0 and not os.path.exists("/usr/bin/setpriv"), "root reads everything")
    def test_goes_on_after_what_fails(self):
        for name in ("a", "closed/x", "m", "secret", "z"):
            self.write(f"tree/{name}", name.encode())
        os.chmod("tree/closed", 0)
        os.chmod("tree/secret", 0)
        os.chmod(".", 0o777)
        own = dict(preexec_fn=lambda: (os.setgid(65534), os.setuid(65534))) if os.geteuid() == 0 else {}
        os.mkdir("out", 0o777)
        os.chmod("out", 0o777)
        for command in ("put", "get"):
            result = self.run_tool(command, "-r", "tree", f"out/{command}", **own)
            self.assertEqual(result.returncode, 1)
            lines = result.stderr.decode().splitlines()
            self.assertEqual(len(lines), 3, lines)
            self.assertIn("2 of 6 entries failed", lines[-1])
            self.assertEqual(sorted(os.listdir(f"out/{command}")), ["a", "closed", "m", "z"])
        os.chmod("tree/closed", 0o755)
        os.chmod("tree/secret", 0o644)


main()
