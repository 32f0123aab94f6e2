"""README and guides keep their word: readme_test.py ROOT HOST. The code that they show stands in an example that is built,
README names no file that is not there, and each command line in it that the host runs ends as it shows."""
import pathlib
import re
import shlex
import subprocess
import sys

root, host = pathlib.Path(sys.argv[1]), sys.argv[2]
readme = (root / "README.md").read_text()
examples = [path.read_text() for path in (root / "docs/examples").glob("*.cpp")]
faults = []
for page, least in (("README.md", 1), ("docs/host-guide.md", 5), ("docs/module-guide.md", 1)):
    shown = re.findall(r"^```cpp\n(.*?)^```$", (root / page).read_text(), re.M | re.S)
    faults += [f"{page} shows what no example has:\n{code}" for code in shown if not any(code in text for text in examples)]
    faults += [f"{page} shows hardly any code"] if len(shown) < least else []
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
