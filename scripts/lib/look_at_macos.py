#!/usr/bin/env python3
"""look_at_macos.py BUILD-FOLDER PROCESSOR LLVM-BIN: looks at the module and the tools that were built for macOS on that
processor, without running them, and prints each thing that is not as it has to be. Exit code 1 if there is one.
"""
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

root = pathlib.Path(__file__).resolve().parents[2]
build, processor, tools = pathlib.Path(sys.argv[1]), sys.argv[2], pathlib.Path(sys.argv[3])
MINIMUM = "11.0"
ALLOWED = {"/usr/lib/libSystem.B.dylib", "/usr/lib/libc++.1.dylib"}
wrong = []


def expect(good, what):
    if not good:
        wrong.append(what)


def output(tool, *arguments):
    return subprocess.run([tools / tool, *arguments], check=True, stdout=subprocess.PIPE, text=True).stdout


def look_at_file(file):
    commands = output("llvm-otool", "-l", file)
    libraries = set(re.findall(r"cmd LC_(?:LOAD|LOAD_WEAK|REEXPORT)_DYLIB\n.*\n +name (\S+)", commands))
    expect(libraries <= ALLOWED, f"{file.name} depends on {', '.join(sorted(libraries - ALLOWED))}")
    expect("LC_LOAD_WEAK_DYLIB" not in commands, f"{file.name} does without a library where it is missing")
    version = re.search(r"cmd LC_BUILD_VERSION\n.*\n +platform (\S+)\n +sdk .*\n +minos (\S+)", commands)
    expect(version is not None and version.groups() == ("1", MINIMUM),
           f"{file.name} is for (platform, system) {version and version.groups()}, expected macOS (1), {MINIMUM}")
    expect("LC_CODE_SIGNATURE" in commands, f"{file.name} is not signed")
    found = output("llvm-lipo", "-archs", file).split()
    expect(found == [processor], f"{file.name} is for {' '.join(found)}, expected {processor}")


def look_at_imports(file, known):
    """The SDK's stubs say what the system has, and clang's marks what its minimum version has."""
    names = set(output("llvm-nm", "-u", "--format=just-symbols", file).split())
    expect(names <= known, f"{file.name} wants what the system lacks: {', '.join(sorted(names - known))}")


def names_of_stubs(sdk):
    known = {"dyld_stub_binder"}
    for stub in sdk.glob("usr/lib/lib*.tbd"):
        for part in re.findall(r"targets: +\[([^\]]*)\]\n((?: +[a-z-]*symbols: +\[[^\]]*\]\n?)+)", stub.read_text()):
            if f"{processor}-macos" in part[0]:
                known.update(name.strip("' ") for name in re.split(r"[\s,\[\]]+", part[1]))
    return known


def look_at_exports(library):
    """Gives what is on the list and not exported, as this processor has it: on arm64 each library has type information of its
    own, compared by name, of the classes that no function in a source belongs to."""
    found = output("llvm-nm", "-gU", "--defined-only", "--format=just-symbols", library).split()
    listed = []
    for line in (root / "cmake/exports.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            words = line.split()
            name = re.escape("_" + words[0]) if len(words) == 1 else f"__Z{len(words[1])}{words[1]}.*"
            listed.append((line, re.compile(name)))
    for name in found:
        expect(any(pattern.fullmatch(name) for _, pattern in listed), f"{name} is exported and not on the list")
    missing = [line for line, pattern in listed if not any(pattern.fullmatch(name) for name in found)]
    private = [line for line in missing if processor == "arm64" and re.match("_ZT[IS].*(IRefObject|IProtocol_V[12])$", line)]
    for line in missing:
        expect(line in private, f"{line} is on the list and not exported")
    return private


def look_at_interface(library, private):
    """Records and tables as the compiler laid them out with the options that the module was built with."""
    commands = json.loads((build / "compile_commands.json").read_text())
    words = next(shlex.split(entry["command"]) for entry in commands if entry["file"].endswith("plugin/entry_points.cpp"))
    start = next(i for i, word in enumerate(words) if "clang" in word)
    options, skip = [], False
    for word in words[start + 1:]:
        if not skip and word not in ("-o", "-c", "-MF", "-MT", "-MD") and not word.startswith("-W"):
            options.append(word)
        skip = word in ("-o", "-c", "-MF", "-MT")
    script = root / "scripts/lib/interface.py"
    text = subprocess.run([sys.executable, script, words[start], *options, "--library", library], check=True, text=True,
                          stdout=subprocess.PIPE, env={**os.environ, "LOCALDISK_NM": str(tools / "llvm-nm")}).stdout
    if private:
        text += "not exported on this processor, where each library has its own and compares it by name\n"
        text += "".join(f"       _{name}\n" for name in private)
    (build / "interface.txt").write_text(text)


library = build.resolve() / "localdisk.dylib"
sdk = pathlib.Path(re.search(r"^CMAKE_OSX_SYSROOT:\w+=(.*)$", (build / "CMakeCache.txt").read_text(), re.M).group(1))
known = names_of_stubs(sdk)
for file in (library, build / "localdisk-host", build / "localdisk-check"):
    look_at_file(file)
    look_at_imports(file, known)
identity = output("llvm-otool", "-D", library).splitlines()[-1]
expect(identity == "@rpath/localdisk.dylib", f"the library calls itself {identity}")
look_at_interface(library, look_at_exports(library))
for line in wrong:
    print(line, file=sys.stderr)
sys.exit(1 if wrong else 0)
