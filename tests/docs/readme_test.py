"""The README keeps its word: readme_test.py ROOT HOST. It shows the sample host exactly as it is built, names no file that
is not there, and each command line in it that the host runs ends as the README shows."""
import pathlib
import re
import shlex
import subprocess
import sys

root, host = pathlib.Path(sys.argv[1]), sys.argv[2]
readme = (root / "README.md").read_text()
sample = (root / "docs/examples/sample_host.cpp").read_text()
faults = [] if sample in readme else ["the sample host differs from docs/examples/sample_host.cpp"]
faults += [f"{name} does not exist" for name in re.findall(r"\bscripts/[\w/-]+", readme) if not (root / name).exists()]
faults += [f"{link} does not exist" for link in re.findall(r"\]\(([^)#:]+)\)", readme) if not (root / link).exists()]

commands = re.findall(r"^    \$ scripts/run(.*)\n    (.*)$", readme, re.MULTILINE)
for arguments, shown in commands:
    arguments = shlex.split(arguments)
    if arguments[:1] == ["mount"]:
        continue  # a test of its own
    result = subprocess.run([host, *(arguments or ["demo", "docs"])], cwd=root, capture_output=True, text=True)
    output = result.stderr if shown.startswith("localdisk-host:") else result.stdout
    if (result.returncode != 0) != shown.startswith("localdisk-host:") or output.split()[:1] != shown.split()[:1]:
        faults.append(f"'scripts/run {arguments}' does not end with '{shown}': {result.stdout}{result.stderr}")
if len(commands) < 4:
    faults.append("the README shows hardly any command")
sys.exit("\n".join(faults) or 0)
