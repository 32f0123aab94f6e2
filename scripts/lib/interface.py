#!/usr/bin/env python3
"""interface.py CLANG [OPTION...] [--library LIBRARY]: prints what hosts rely on: records, tables of functions and values as
clang lays out the headers with those options, exported names and (of an ELF library) the sizes of exported data as the library has them.
A Mach-O library is read by the program that LOCALDISK_NM names. The text is the same whichever version of a compiler or of its standard library is there.
"""
import os
import pathlib
import re
import subprocess
import sys

root = pathlib.Path(__file__).resolve().parents[2]
RECORDS = ("_FS_FILE_V2", "_FS_HANDLE", "_FS_CACHE_REQUEST")
TABLES = ("LocalDisk", "IProtocolManager", "IFileList", "ILog", "IFetchCallback", "ICacheIO")
VALUES = ("FS_", "LOGLEVEL")


def output(*command):
    result = subprocess.run(command, cwd=root, stdout=subprocess.PIPE, text=True)
    if result.returncode != 0:
        sys.exit(f"{command[0]} failed")  # and has said why
    return result.stdout


def plain(declaration):
    """Written alike whatever library and compiler: no keywords before names, the texts by their usual name."""
    declaration = re.sub(r"\b(?:class|struct|enum) ", "", declaration)
    return re.sub(r"std::(?:__\w+::)?basic_string<char>", "std::string", declaration).replace(" >", ">")


def layouts(compile_command):
    dump = output(*compile_command, "-Xclang", "-fdump-record-layouts", "-Xclang", "-fdump-vtable-layouts",
                  "-emit-llvm", "-c", "-o", os.devnull)
    for name in RECORDS:
        lines, size, alignment = re.search(
            rf"^ +0 \| (?:class|struct) {name}\n((?: .*\| .*\n)*?) +\| \[sizeof=(\d+), .*align=(\d+)", dump, re.M).groups()
        yield f"record {name}: {size} bytes, aligned to {alignment}"
        for offset, member in re.findall(r"^ +([\d:-]+) \|   (\S.*)$", lines, re.M):
            yield f"{offset:>5}  {plain(member)}"
    for name in TABLES:
        lines = re.search(rf"^VTable indices for '{name}' .*\n((?: +\d+ \| .*\n)*)", dump, re.M).group(1)
        yield f"table {name}"
        for slot, function in re.findall(r"^ +(\d+) \| (.*)$", lines, re.M):
            yield f"{slot:>5}  {plain(function)}"


def values(compile_command):
    yield "values"
    for words in VALUES:
        tree = output(*compile_command, "-fsyntax-only", "-Xclang", "-ast-dump", "-Xclang", f"-ast-dump-filter={words}")
        for name, value in re.findall(r"^\W*(?:EnumConstantDecl|VarDecl) .* (\w+) '.*\n(?:.*ConstantExpr.*\n)?"
                                      r"\W*value: Int (-?\d+)$", tree, re.M):
            yield f"{value:>8}  {name}"


def exports(library):
    """Functions by their names, data with their sizes: the host that links a table or a variable knows them."""
    yield "exports"
    if library.endswith(".dylib"):
        names = output(os.environ["LOCALDISK_NM"], "-gU", "--defined-only", "--format=just-symbols", library).split()
        yield from (f"       {name}" for name in sorted(names))
        return
    symbols = [line.split() for line in output("readelf", "--dyn-syms", "--wide", library).splitlines()]
    for _, _, size, kind, _, _, section, name in sorted((fields for fields in symbols if len(fields) == 8),
                                                        key=lambda fields: fields[7]):
        if kind in ("FUNC", "OBJECT") and section != "UND":
            yield f"       {name}" + (f", {int(size, 0)} bytes" if kind == "OBJECT" else "")


arguments = sys.argv[1:]
library = arguments[-1] if "--library" in arguments[-2:-1] else None
clang, *options = arguments[:-2] if library else arguments
compile_command = [clang, "-std=c++20", "-I.", *options, "scripts/lib/interface.cpp"]
for line in (*layouts(compile_command), *values(compile_command), *(exports(library) if library else ())):
    print(line)
