#!/usr/bin/env python3
"""Turns a header's plain comments into the ones that Doxygen reads, and leaves every line at its number.

The headers' own rules: the comment at the top speaks for the file; one above a declaration speaks for it and for those
that follow without a blank line; one at the end of a line speaks for that line; what is indented stays as it is written. A macro that the header takes back is no part of it.
"""
import re
import sys


def plain(text):
    """The comment's words as such: only what stands in backticks is marked up."""
    if text.startswith("  "):
        return "    " + text
    parts = re.split(r"(`[^`]*`)", text)
    return "".join(part if part.startswith("`") else re.sub(r'([\\@<>#%&"])', r"\\\1", part) for part in parts)


def declares(line):
    return re.match(r"\s*(?!static_assert|namespace|using|public:|private:|protected:|extern \"C\" \{)[A-Za-z_~]", line)


def filtered(lines):
    block, shared, in_top, complete = [], [], True, True
    taken_back = {line.split()[1] for line in lines if line.startswith("#undef ")}
    for line in lines:
        if line.startswith("#define ") and line.split()[1] in taken_back:
            line = ""
        whole = re.match(r"(\s*)//(?: (.*)|)$", line)
        if whole:
            block = block + [whole[2] or ""] if complete else block
            yield f"{whole[1]}/// {plain(whole[2] or '')}"
            continue
        if in_top and line == "#pragma once":
            in_top, block = False, []
            yield "/// @file"
            continue
        code, _, end = line.partition("  // ") if "  // " in line else (line, "", "")
        if not code.strip():
            shared = []
        elif block:
            shared = block
        elif complete and shared and not end and declares(code):
            code = re.match(r"\s*", code)[0] + f"/** {' '.join(map(plain, shared))} */ " + code.lstrip()
        if code.strip():
            complete = bool(re.search(r"[;{}:,]\s*$", code)) or code.lstrip().startswith("#")
        block = []
        yield f"{code}  ///< {plain(end)}" if end else code


print("\n".join(filtered(open(sys.argv[1], encoding="utf-8").read().splitlines())))
