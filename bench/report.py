#!/usr/bin/env python3
"""Measures every row in rounds and reports ratios: report.py BENCH HOST MODULE PAGE [--quick]

Prints the table and writes it, with the machine, into PAGE between its two marks, and a picture beside PAGE. A round runs
all rows once, the sides of a row one right after the other; a ratio is the median of the rounds' ratios of processor time.
"""

import json
import os
import platform
import re
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

ROUNDS = 7
SECONDS_A_SIDE = "0.01"
BEGIN, END = "<!-- measured: begin -->", "<!-- measured: end -->"

# What the module shall cost, in units of the baseline or, where that is the measure, of the peer.
GOALS = {
    "list 100 000 entries in memory": ("baseline", 1.25),
    "list 100 000 entries on disk": ("baseline", 1.22),
    "list 10 entries": ("baseline", 1.35),
    "GetFileInfo": ("baseline", 1.5),
    "GetFileInfo, TZ set": ("baseline", 1.4),
    "list 1000 entries": ("baseline", 1.27),
    "Read 1 GiB": ("baseline", 1.05),
    "Read 256 MiB from an odd offset": ("baseline", 1.07),
    "Read 512 KiB at random": ("baseline", 1.1),
    "Read 512 KiB at odd offsets": ("baseline", 1.1),
    "Read 4 KiB at random": ("baseline", 1.25),
    "Upload 128 MiB": ("baseline", 1.06),
    "Upload 64 KiB": ("baseline", 1.08),
    "Upload 1 KiB": ("baseline", 1.2),
    "CreateDirectory + Delete": ("baseline", 1.2),
    "Move": ("baseline", 1.2),
    "SetFileTime": ("baseline", 1.08),
    "TMToRFC3339": ("peer", 0.2),
    "TimeToRFC3339": ("baseline", 1.1),
    "RFC3339ToTM": ("baseline", 1.1),
    "parse8601": ("baseline", 2.2),
    "RFC3339ToLocalTM": ("baseline", 2.2),
    "parse_date_basic, mail style": ("peer", 0.13),
    "parse_date_basic, ISO style": ("peer", 1.0),
    "approxidate": ("peer", 2.1),
    "approxidate, TZ set": ("peer", 2.1),
    "wildcard *.txt": ("peer", 0.5),
    "wildcard *a*b*c*": ("peer", 1.1),
    "Base64, 4 KiB": ("peer", 0.8),
    "Base64, 1 MiB": ("peer", 0.8),
    "s2ws, ASCII": ("peer", 0.35),
    "ws2s, ASCII": ("peer", 0.35),
    "s2ws, Latin": ("peer", 1.0),
    "ws2s, Latin": ("peer", 1.0),
    "s2ws, CJK": ("peer", 0.8),
    "ws2s, CJK": ("peer", 0.8),
    "URLEncode": ("peer", 0.22),
    "profile, last of 100 sections": ("baseline", 1.8),
    "profile, 10 000 lines": ("baseline", 2.5),
    "ToExactPath": ("baseline", 1.4),
    "normalize_path": ("baseline", 1.0),
    "tokenize at a character": ("baseline", 1.0),
    "tokenize at a string": ("baseline", 1.0),
    "split_delim": ("baseline", 1.0),
    "split": ("peer", 0.65),
    "is_email_valid": ("baseline", 1.1),
    "string_format": ("baseline", 1.0),
    "GetSystemTimeRfc3339": ("baseline", 1.5),
}

PROTOCOL = re.compile("list |GetFileInfo|Read |Upload |CreateDirectory|Move|SetFileTime")
# Their time hangs on where the allocator puts one large block, so each has a process of its own, and another one whose
# heap has been in use: no row rests on what the rows before it left behind.
TRANSFERS = re.compile("Read |Upload ")
USED_HEAP = ", used heap"


class Row:
    def __init__(self, name):
        self.name = name
        self.times = {"module": [], "baseline": [], "peer": []}  # nanoseconds, one a round
        self.allocations = 0.0

    def time(self, side):
        return statistics.median(self.times[side]) if self.times[side] else None

    def ratio(self, side):
        pairs = zip(self.times["module"], self.times[side])
        ratios = [module / other for module, other in pairs]
        return statistics.median(ratios) if ratios else None


def processes(bench):
    """The command of each process that a round starts, and what to put behind the names of its rows."""
    listed = subprocess.run([bench, "--benchmark_list_tests"], check=True, stdout=subprocess.PIPE, text=True).stdout
    names = list(dict.fromkeys(line.rsplit(":", 1)[0] for line in listed.splitlines()))
    yield [bench, "--benchmark_filter=-^(" + TRANSFERS.pattern + ")"], ""
    for name in filter(TRANSFERS.match, names):
        only = f"--benchmark_filter=^{name}:"  # no name of a transfer has a sign that means more
        yield [bench, only], ""
        yield [bench, "--used-heap", only], USED_HEAP


def measure(bench, rounds):
    rows = {}
    for number in range(rounds):
        print(f"\rround {number + 1} of {rounds} ", end="", file=sys.stderr, flush=True)
        for command, suffix in processes(bench):
            command += ["--benchmark_min_time=" + SECONDS_A_SIDE, "--benchmark_format=json"]
            done = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            for run in json.loads(done.stdout)["benchmarks"]:
                name, side = run["name"].rsplit(":", 1)
                row = rows.setdefault(name + suffix, Row(name + suffix))
                row.times[side].append(run["cpu_time"])
                if side == "module":
                    row.allocations = run["allocations"]
    print(file=sys.stderr)
    return list(rows.values())


def means(rows):
    """The geometric means of the ratios to the baseline, which no single row can hide behind."""
    protocol = [row.ratio("baseline") for row in rows if PROTOCOL.match(row.name)]
    utilities = [row.ratio("baseline") for row in rows if not PROTOCOL.match(row.name) and row.ratio("baseline")]
    return (f"Geometric means of module/baseline: {statistics.geometric_mean(protocol):.2f} for the {len(protocol)} rows of "
            f"the protocol, {statistics.geometric_mean(utilities):.2f} for the {len(utilities)} of the utilities.")


def duration(nanoseconds):
    if nanoseconds is None:
        return ""
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def ratio_text(row, side):
    ratio = row.ratio(side)
    return "" if ratio is None else f"{ratio:.2f}"


def goal_text(row):
    side, goal = GOALS.get(row.name.removesuffix(USED_HEAP), (None, None))
    if side is None:
        return ""
    ratio = row.ratio(side)
    if ratio is None:
        return ""
    return f"{goal:.2f} of the {side}" + ("" if ratio <= goal else ", missed")


def table(rows):
    yield ["work", "module", "baseline", "peer", "module/baseline", "module/peer", "allocations", "goal"]
    for row in rows:
        yield [row.name, *(duration(row.time(side)) for side in ("module", "baseline", "peer")), ratio_text(row, "baseline"),
               ratio_text(row, "peer"), f"{row.allocations:.2f}", goal_text(row)]


def aligned(lines):
    lines = list(lines)
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
    for line in lines:
        yield "  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip()


def markdown(lines):
    for number, line in enumerate(lines):
        yield "| " + " | ".join(cell.replace("*", "\\*") for cell in line) + " |"
        if number == 0:
            yield "|---" + "|---:" * (len(line) - 2) + "|---|"


def processor_time(command):
    """Seconds of processor time, wall-clock time and nothing of the output."""
    before, start = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    after, end = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, end - start


def whole_programs(host, module, folder, content, target):
    scan = "import os,sys\nfor e in os.scandir(sys.argv[1]): s = e.stat(); print(e.name, s.st_size, s.st_mtime)"
    ours = [host, "--module", module]
    groups = {
        "list 100 000 entries": {
            "localdisk-host ls --json": [*ours, "ls", "--json", folder],
            "ls -lU": ["ls", "-lU", folder],
            "find -printf": ["find", folder, "-printf", "%f %s %TY-%Tm-%TdT%TH:%TM:%TS %p\\n"],
            "Python, os.scandir": [sys.executable, "-c", scan, folder],
            "rclone lsjson": ["rclone", "lsjson", folder],
        },
        "copy 1 GiB": {
            "localdisk-host get": [*ours, "get", content, target],
            "cp": ["cp", "--reflink=never", content, target],
            "dd bs=512K": ["dd", "bs=512K", "if=" + content, "of=" + target],
        },
    }
    for work, programs in groups.items():
        present = {name: command for name, command in programs.items() if shutil.which(command[0])}
        times = {name: [] for name in present}
        for _ in range(3):
            for name, command in present.items():
                with open(os.devnull, "w") as quiet:
                    errors, saved = sys.stderr.fileno(), os.dup(2)
                    os.dup2(quiet.fileno(), errors)
                    try:
                        times[name].append(processor_time(command))
                    finally:
                        os.dup2(saved, errors)
                        os.close(saved)
                if os.path.exists(target):
                    os.remove(target)
        for name, measured in times.items():
            processor, wall = (statistics.median(column) for column in zip(*measured))
            yield [work, name, f"{processor:.2f} s", f"{wall:.2f} s"]


def chart(rows):
    """Horizontal bars of the ratios, by which the module is measured, up to `most`; the line is 1."""
    most, left, width, height = 2.0, 250, 560, 18
    bars = []
    for row in rows:
        side = GOALS.get(row.name.removesuffix(USED_HEAP), ("baseline", 0))[0]
        if row.ratio(side) is not None:
            bars.append((row.name, side, row.ratio(side)))
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + 60} {height * len(bars) + 50}" '
           'font-family="sans-serif" font-size="12">', '<rect width="100%" height="100%" fill="white"/>',
           f'<text x="{left}" y="16">Time of the module: blue by the baseline, green by the library for the same work; '
           'the line is 1</text>']
    for number, (name, side, ratio) in enumerate(bars):
        y, length = 28 + number * height, min(ratio, most) / most * width
        colour = "#4878a8" if side == "baseline" else "#5a9a5a"
        label = name.replace("&", "&amp;").replace("<", "&lt;")
        out.append(f'<text x="{left - 8}" y="{y + 12}" text-anchor="end">{label}</text>'
                   f'<rect x="{left}" y="{y + 2}" width="{length:.1f}" height="{height - 5}" fill="{colour}"/>'
                   f'<text x="{left + length + 5:.1f}" y="{y + 12}">{ratio:.2f}</text>')
    one = left + width / most
    out.append(f'<line x1="{one}" x2="{one}" y1="24" y2="{30 + height * len(bars)}" stroke="#333"/></svg>')
    return "\n".join(out) + "\n"


def machine(bench):
    with open("/proc/cpuinfo") as info:
        model = re.search(r"model name\s*: (.*)", info.read())
    zone = "TZ set to " + os.environ["TZ"] if "TZ" in os.environ else "TZ unset"
    return (f"{model.group(1) if model else platform.machine()}, {os.cpu_count()} processors, "
            f"Linux {platform.release().split('-')[0]}, {' '.join(platform.libc_ver())}, {zone}. "
            f"Median of {ROUNDS} rounds, processor time.")


def main():
    bench, host, module, page = sys.argv[1:5]
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as memory, \
            tempfile.TemporaryDirectory() as disk:
        os.environ["LOCALDISK_BENCH_MEMORY"], os.environ["LOCALDISK_BENCH_DISK"] = memory, disk
        rows = measure(bench, 1 if "--quick" in sys.argv else ROUNDS)
        print("\n".join([*aligned(table(rows)), "", means(rows)]))
        if "--quick" in sys.argv:
            return
        programs = [["work", "program", "processor", "clock"]]
        programs += whole_programs(host, module, memory + "/entries-100000", disk + "/content-1073741824",
                                   memory + "/copy")
        print("\n" + "\n".join(aligned(programs)))
        use = subprocess.run([bench, "--memory"], check=True, stdout=subprocess.PIPE, text=True).stdout
        print("\n" + use, end="")
    measured = [BEGIN, "", machine(bench), "", "![The ratios](performance.svg)", "", *markdown(table(rows)), "",
                means(rows), "", "### Whole programs", "", *markdown(programs), "", "### Memory of a listing", "", "```", use.rstrip(),
                "```", "", END]
    with open(page) as file:
        before, rest = file.read().split(BEGIN)
    with open(page, "w") as file:
        file.write(before + "\n".join(measured) + rest.split(END)[1])
    with open(os.path.join(os.path.dirname(page), "performance.svg"), "w") as file:
        file.write(chart(rows))


main()
