"""docs/decorated-names.md lists exactly the C++ functions that the module exports.

decorated_names.py DOCUMENT NM MODULE [--write]

A module is of one standard library and tells of its table alone. With --write that table is made anew.
"""
import pathlib
import re
import subprocess
import sys

document, nm, module = pathlib.Path(sys.argv[1]), *sys.argv[2:4]


def exported(*options):
    output = subprocess.run([nm, *options, module], check=True, capture_output=True, text=True).stdout
    return [line.split(" ", 2)[2] for line in output.splitlines() if re.match(r"[0-9a-f]+ T ", line)]


def readable(declaration):
    """The demangled declaration as the headers spell it."""
    for pattern, text in [(r"\[abi:cxx11\]", ""), (r"std::(__cxx11|__1)::", "std::"), (r", std::(allocator|char_traits|regex_traits)<[^<>]*>", ""),
                          (r"std::basic_string<char\s*>", "std::string"), (r"std::basic_string<wchar_t\s*>", "std::wstring"),
                          (r", std::(allocator|regex_traits)<[^<>]*>", ""), (r"std::basic_regex<char\s*>", "std::regex"),
                          (r"std::basic_regex<wchar_t\s*>", "std::wregex"), (r"std::basic_istream<char\s*>", "std::istream"),
                          (r"(std::w?string) const&", r"const \1&"), (r"\b(char|void|wchar_t|unsigned char) const\*", r"const \1*"),
                          (r"(std::vector<[^<>]*?)\s*> const&", r"const \1>&"), (r" >", ">")]:
        declaration = re.sub(pattern, text, declaration)
    return declaration


dynamic = ["-D", "--defined-only"] if module.endswith(".so") else ["-g", "-U"]
strip = 1 if module.endswith(".dylib") else 0  # there each name has one more "_", which dlsym adds
names = {name[strip:]: readable(text) for name, text in zip(exported(*dynamic), exported(*dynamic, "-C"))
         if name[strip:].startswith("_Z")}
library = "libc++" if any("St3__1" in name for name in names) else "libstdc++"

text = document.read_text()
head = f"## {library}\n"
begin = text.index(head) + len(head)
end = text.find("\n## ", begin) if "\n## " in text[begin:] else len(text)
if "--write" in sys.argv:
    rows = sorted((f"| `{declaration}` | `{name}` |" for name, declaration in names.items()), key=str.lower)
    made = "\n".join(["", "| function | name |", "|---|---|", *rows, ""])
    document.write_text(text[:begin] + made + text[end:])
    sys.exit()
listed = set(re.findall(r"`(_Z\w+)`", text[begin:end]))
faults = [f"{name} is missing in the table of {library}" for name in sorted(names.keys() - listed)]
faults += [f"{name} is not exported" for name in sorted(listed - names.keys())]
sys.exit("\n".join(faults) or (0 if len(names) > 50 else f"{module} exports hardly anything"))
