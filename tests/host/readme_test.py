"""The README shows the sample host exactly as it is built, and names no script that is not there."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
readme = (root / "README.md").read_text()
sample = (root / "docs/examples/sample_host.cpp").read_text()
faults = [] if sample in readme else ["the sample host differs from docs/examples/sample_host.cpp"]
faults += [f"{name} does not exist" for name in re.findall(r"\bscripts/[\w/]+", readme) if not (root / name).exists()]
faults += [f"{link} does not exist" for link in re.findall(r"\]\(([^)#:]+)\)", readme) if not (root / link).exists()]
sys.exit("\n".join(faults) or 0)
