"""The guide's larger host at work: mirror_host_test.py MIRROR-HOST MODULE. Folders go to the drive and back with their
times, in five zones, and Ctrl-C leaves whole files alone."""
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

program, module = sys.argv[1:]
zones = ["UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "America/New_York", "Europe/Istanbul", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"]
instants = [1, 86400 * 200, 1205000000, 1230000000, 1468500000, 1483228800, 1705320000, 1721044800, 2140000000]


def run(*arguments, zone="UTC0", expected=0):
    result = subprocess.run([program, module, *map(str, arguments)], env={**os.environ, "TZ": zone}, capture_output=True,
                            text=True)
    assert result.returncode == expected, (arguments, zone, result)
    return result.stderr


def content(folder):
    return {str(path.relative_to(folder)): (path.read_bytes() if path.is_file() else None, int(path.stat().st_mtime))
            for path in folder.rglob("*")}


def fill(folder):
    (folder / "deep" / "er").mkdir(parents=True)
    for number, instant in enumerate(instants):
        file = folder / ("deep" if number % 2 else "") / f"file {number}"
        file.write_bytes(b"x" * (number * 130001))
        os.utime(file, (instant + 3600, instant))
    os.utime(folder / "deep" / "er", (instants[3], instants[3]))
    os.utime(folder / "deep", (instants[4], instants[4]))


with tempfile.TemporaryDirectory() as base:
    base = pathlib.Path(base)
    for number, zone in enumerate(zones):
        here, drive, back = (base / f"{name}{number}" for name in ("here", "drive", "back"))
        for folder in (here, drive, back):
            folder.mkdir()
        fill(here)
        (drive / "old").mkdir()
        (drive / "old" / "file").write_text("goes")
        (drive / "old" / "link").symlink_to(here)  # goes, and what it leads to stays
        run("push", here, drive, zone=zone)
        assert content(here) == content(drive), zone
        (drive / "nowhere").symlink_to("/no/such/file")
        (back / "deep").write_text("a file where a folder is to be")
        assert "nowhere" in run("pull", back, drive, zone=zone)
        assert content(here) == content(back), zone
        inode = (drive / "file 0").stat().st_ino
        assert "nowhere" in run("push", here, drive, zone=zone)  # the protocol can't remove such a link
        (drive / "nowhere").unlink()
        assert (drive / "file 0").stat().st_ino == inode and content(here) == content(drive), zone

    here, drive = base / "here", base / "drive"
    here.mkdir()
    drive.mkdir()
    with open(here / "large", "wb") as large:
        large.truncate(2 << 30)
    (drive / "large").write_text("older")
    mirror = subprocess.Popen([program, module, "push", here, drive], stderr=subprocess.PIPE)
    while mirror.poll() is None and not (drive / "large.part").exists():
        time.sleep(0.001)
    mirror.send_signal(signal.SIGINT)
    mirror.communicate()
    assert mirror.returncode == 130, mirror.returncode
    assert [path.name for path in drive.iterdir()] == ["large"] and (drive / "large").read_text() == "older"

    assert "list" in run("pull", here, base / "none", expected=1)
    run("sideways", here, drive, expected=2)
