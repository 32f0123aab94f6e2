#!/usr/bin/env python3
"""What no noise can touch: the system calls and the user-space instructions of one operation of the module.

counts.py BENCH EXPECTED           compares with the expected figures; exits 1 when one is exceeded
counts.py BENCH EXPECTED --write   writes them anew

Each figure is the difference between doing the work a few times and many times, divided by the difference in times: what
the process does besides cancels out. System calls must match. Instructions may be fewer, or more by a slack that covers
other compilers and C libraries.
"""

import os
import re
import subprocess
import sys
import tempfile

FEW, MANY = 20, 120
SLACK = 1.3
WORKS = {  # and the things that one doing of it handles
    "list 1000 entries": 1000,
    "list 10 entries": 1,
    "GetFileInfo": 1,
    "CreateDirectory + Delete": 1,
    "Move": 1,
    "SetFileTime": 1,
    "Read 4 KiB at random": 1,
    "Upload 1 KiB": 1,
    "TMToRFC3339": 1,
    "RFC3339ToLocalTM": 1,
    "parse_date_basic, mail style": 1,
    "wildcard *a*b*c*": 1,
    "URLEncode": 1,
    "s2ws, CJK": 1,
    "is_email_valid": 1,
    "ToExactPath": 1,
}


def run(bench, times, work, tool):
    kept = ("PATH", "LOCALDISK_BENCH_MEMORY", "LOCALDISK_BENCH_DISK")  # the C library walks through all there are
    environment = {"TZ": "UTC0", **{name: os.environ[name] for name in kept if name in os.environ}}
    command = [*tool, bench, "--times", str(times), work + ":module"]
    done = subprocess.run(command, env=environment, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}\n{done.stderr}")
    return done.stderr


def system_calls(bench, times, work):
    with tempfile.NamedTemporaryFile("r") as log:
        run(bench, times, work, ["strace", "-f", "-o", log.name])
        return sum(1 for line in log if re.match(r"\d+ +\w+\(", line))


def instructions(bench, times, work):
    tool = ["valgrind", "--tool=cachegrind", "--cache-sim=no", "--cachegrind-out-file=/dev/null"]
    return int(re.search(r"I +refs: +([\d,]+)", run(bench, times, work, tool)).group(1).replace(",", ""))


def per_thing(count, bench, work, things):
    return (count(bench, MANY, work) - count(bench, FEW, work)) / (MANY - FEW) / things


def measured(bench):
    with tempfile.TemporaryDirectory() as folder:
        os.environ["LOCALDISK_BENCH_MEMORY"] = os.environ["LOCALDISK_BENCH_DISK"] = folder
        for work, things in WORKS.items():
            run(bench, 1, work, [])  # makes what the work needs
            calls = per_thing(system_calls, bench, work, things)
            yield work, calls, per_thing(instructions, bench, work, things)


def main():
    bench, expected_file = sys.argv[1:3]
    if sys.argv[3:] == ["--write"]:
        with open(expected_file, "w") as out:
            for work, calls, count in measured(bench):
                print(f"{work}\t{calls:.2f}\t{count:.0f}", file=out, flush=True)
        return
    with open(expected_file) as lines:
        expected = {work: (float(calls), int(count)) for work, calls, count in (line.split("\t") for line in lines)}
    exceeded = 0
    print(f"{'work':32}{'system calls':>14}{'expected':>10}{'instructions':>14}{'expected':>10}")
    for work, calls, count in measured(bench):
        calls_expected, count_expected = expected[work]
        good = abs(calls - calls_expected) < 0.05 and count <= count_expected * SLACK
        exceeded += not good
        print(f"{work:32}{calls:14.2f}{calls_expected:10.2f}{count:14.0f}{count_expected:10d}{'' if good else '  <--'}")
    if exceeded:
        sys.exit(f"{exceeded} of the figures above differ from {expected_file}")


main()
