"""sync makes two folders equal, and nothing else: sync_test.py HOST MODULE."""
import os
import pathlib
import shutil
import unittest

from tool import ToolTest, main

CENTRAL_EUROPE = "CET-1CEST,M3.5.0,M10.5.0/3"
# Winter, summer, and both passes of the hour that occurs twice in Europe on 2024-10-27.
INSTANTS = (1705320000, 1721044800, 1729989000, 1729989000 + 3600, 86400 * 365)
ZONES = ("UTC0", CENTRAL_EUROPE, "EST5EDT,M3.2.0,M11.1.0", "XST-5:45", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
         ":Europe/Istanbul", ":Europe/Lisbon")


class Sync(ToolTest):
    directions = ((), ("--down",))

    def sync(self, *arguments, **options):
        return self.host("sync", *arguments, **options)

    def shape(self, folder):
        return {str(path.relative_to(folder)): path.read_bytes() if path.is_file() else None
                for path in pathlib.Path(folder).rglob("*")}

    def clean(self):
        for path in pathlib.Path(".").iterdir():
            shutil.rmtree(path) if path.is_dir() and not path.is_symlink() else path.unlink()

    def test_a_second_run_copies_nothing_in_any_zone(self):
        for zone in ZONES:
            for arguments in self.directions:
                for number, when in enumerate(INSTANTS):
                    self.write(f"from/sub/{number}", b"content", when)
                    os.makedirs(f"from/folder-{number}", exist_ok=True)
                    os.utime(f"from/folder-{number}", (when, when))
                first = self.sync(*arguments, "from", "to", zone=zone)
                self.assertIn(f"{len(INSTANTS)} copied", first)
                self.assertEqual(self.shape("from"), self.shape("to"))
                for number, when in enumerate(INSTANTS):
                    for name in (f"sub/{number}", f"folder-{number}"):
                        # Down, a record can't say which pass of the hour it means: the earlier one is taken.
                        twice = arguments and zone in (CENTRAL_EUROPE, ":Europe/Lisbon") and number == 3
                        self.assertEqual(os.stat(f"to/{name}").st_mtime, when - (3600 if twice else 0), (zone, name))
                second = self.sync(*arguments, "from", "to", zone=zone)
                self.assertIn(f"0 copied, 0 B; 0 folders made, 0 deleted, {len(INSTANTS)} unchanged", second, zone)
                self.clean()

    def test_copies_what_differs(self):
        for arguments in self.directions:
            for name, content, when in (("same", b"1234", 1000), ("size", b"12345", 1000), ("time", b"1234", 1001),
                                        ("content", b"abcd", 1000), ("new", b"", 1000)):
                self.write(f"from/{name}", content, when)
                if name != "new":
                    self.write(f"to/{name}", b"1234", 1000)
            self.write("to/more", b"x")
            before = self.state()
            dry = self.sync(*arguments, "--dry-run", "from", "to")
            self.assertEqual(self.state(), before)
            self.assertEqual(set(dry.splitlines()[:-1]), {f"copy {self.folder}/to/{name}" for name in ("size", "time", "new")})
            self.assertIn("3 copied", self.sync(*arguments, "from", "to"))
            self.assertEqual(self.read("to/content"), b"1234")
            self.assertIn("1 copied", self.sync(*arguments, "--checksum", "from", "to"))
            self.assertEqual(self.shape("to"), {**self.shape("from"), "more": b"x"})
            self.assertEqual(self.sync(*arguments, "--quiet", "from", "to"), "")
            self.clean()

    def test_deletes_what_is_gone(self):
        for arguments in self.directions:
            self.write("from/kept/f", b"1", 1000)
            self.write("from/was-folder", b"file", 1000)
            self.write("from/was-file/f", b"inner", 1000)
            self.write("to/kept/extra", b"x")
            self.write("to/gone/deep/f", b"x")
            self.write("to/was-folder/f", b"x")
            self.write("to/was-file", b"x")
            self.write("to/local.cache", b"keep")
            self.write("to/gone-too/other.cache", b"keep")
            self.write("outside/f", b"keep")
            os.symlink(os.path.abspath("outside"), "to/link")
            os.makedirs("from/linked")
            os.symlink(os.path.abspath("outside"), "to/linked")
            self.write("from/secret.cache", b"not for copying")
            before = self.state()
            wanted = (*arguments, "--delete", "--exclude", "*.cache", "from", "to")
            named = self.sync("--dry-run", *wanted)
            self.assertEqual(self.state(), before)
            for line in ("delete {}/to/gone/deep/f", "delete {}/to/was-file", "copy {}/to/was-folder", "delete {}/to/link"):
                self.assertIn(line.format(self.folder) + "\n", named)
            # Without --delete a folder is never replaced by a file, nor a file by a folder.
            refused = self.run_tool("sync", *arguments, "from", "to")
            self.assertEqual((refused.returncode, refused.stderr.count(b"\n")), (1, 3), refused.stderr)
            self.assertEqual((self.read("to/was-folder/f"), self.read("to/was-file")), (b"x", b"x"))
            os.unlink("to/secret.cache")
            self.sync(*wanted)
            expected = {**self.shape("from"), "local.cache": b"keep", "gone-too": None, "gone-too/other.cache": b"keep"}
            del expected["secret.cache"]
            found = {name: content for name, content in self.shape("to").items() if not name.startswith("linked/")}
            self.assertEqual(found, expected)
            self.assertEqual(self.read("outside/f"), b"keep")
            self.assertIn("0 copied, 0 B; 0 folders made, 0 deleted", self.sync(*wanted))
            self.clean()

    def test_deletes_nothing_without_a_whole_source(self):
        self.write("from/open/f", b"1")
        self.write("from/closed/f", b"1")
        self.write("to/closed/f", b"1")
        self.write("to/extra", b"keep")
        os.symlink("loop", "from-loop")
        for arguments in self.directions:
            for missing in ("none", "from-loop", "from/open/f"):
                self.host("sync", *arguments, "--delete", missing, "to", code=1)
                self.assertEqual(self.read("to/extra"), b"keep")
        if os.geteuid() == 0:
            for path in ("to", "to/closed", "to/closed/f", "to/extra", "from", "from/open", "from/open/f"):
                os.chown(path, 65534, 65534)
            os.chmod(".", 0o755)
        own = dict(preexec_fn=lambda: (os.setgid(65534), os.setuid(65534))) if os.geteuid() == 0 else {}
        os.chmod("from/closed", 0)
        for arguments in self.directions:
            text = self.host("sync", *arguments, "--delete", "from", "to", code=1, lines=3, **own)
            self.assertIn("nothing is deleted", text)
            self.assertEqual((self.read("to/extra"), self.read("to/closed/f")), (b"keep", b"1"))
        os.chmod("from/closed", 0o755)

    def test_skips_what_is_no_file(self):
        self.write("from/f", b"1")
        self.write("to/loop/f", b"keep")
        self.write("to/pipe", b"keep")
        os.symlink(".", "from/loop")
        os.symlink("nowhere", "from/lost")
        os.mkfifo("from/pipe")
        for arguments in self.directions:
            result = self.run_tool("sync", *arguments, "--delete", "from", "to")
            self.assertEqual((result.returncode, result.stderr.count(b"skipped")), (0, 3), result.stderr)
            self.assertEqual(self.shape("to"), {"f": b"1", "loop": None, "loop/f": b"keep", "pipe": b"keep"})
            self.assertEqual(self.run_tool("sync", "-q", *arguments, "from", "to").stderr, b"")


main()
