"""What the tests of the tool share: a folder of their own and a way to run it. The first arguments are HOST MODULE."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

HOST, MODULE = sys.argv[1:3]


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = os.path.realpath(tempfile.mkdtemp(prefix="localdisk-host-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        os.chdir(self.folder)

    def write(self, name, content=b"", when=None):
        pathlib.Path(name).parent.mkdir(parents=True, exist_ok=True)
        pathlib.Path(name).write_bytes(content)
        if when is not None:
            os.utime(name, (when, when))

    def read(self, name):
        return pathlib.Path(name).read_bytes()

    def run_tool(self, *args, zone="UTC0", environment={}, **options):
        return subprocess.run([HOST, "--module", MODULE, *args], capture_output=True, timeout=600,
                              env={**os.environ, "TZ": zone, **environment}, **options)

    # What the tool says: on standard output, or on standard error where it fails. A failure has `lines` lines.
    def host(self, *args, code=0, lines=1, **options):
        result = self.run_tool(*args, **options)
        self.assertEqual(result.returncode, code, (args, result.stdout[-2000:], result.stderr))
        if code:
            self.assertEqual(len(result.stderr.decode(errors="replace").strip().splitlines()), lines, result.stderr)
        return (result.stderr if code else result.stdout).decode(errors="surrogateescape")

    # Every path below a folder with what tells whether it was touched.
    def state(self, folder="."):
        found = {}
        for path in sorted(pathlib.Path(folder).rglob("*")):
            status = path.lstat()
            content = path.read_bytes() if path.is_file() else None
            found[str(path)] = (status.st_mode, content, None if path.is_dir() else status.st_mtime_ns)
        return found


def main():
    unittest.main(argv=sys.argv[:1])
