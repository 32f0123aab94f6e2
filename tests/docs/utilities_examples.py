"""Makes a program of the examples in docs/utilities.md: each line that is no statement has to be true.

utilities_examples.py DOCUMENT EXPORTS PROGRAM
"""
import pathlib
import re
import sys

document, exports, program = map(pathlib.Path, sys.argv[1:])
lines = document.read_text().splitlines()
examples, table = [], []
inside = False
for number, line in enumerate(lines, 1):
    if line == "```cpp":
        inside = True
        examples.append([])
    elif line == "```":
        inside = False
    elif inside:
        examples[-1].append((number, line))
    elif line.startswith("|"):
        table.append(line)

# An export that nobody described, or showed at work, is found here.
code = "\n".join(line for example in examples for _, line in example)
faults = [f"{name} has no {what}" for name in re.findall(r"^c\+\+ (\w+)$", exports.read_text(), re.M)
          for what, found in (("line in a table", re.search(rf"^\| `(?:\w+::)?{name}`", "\n".join(table), re.M)),
                              ("example", re.search(rf"\b{name}\(", code))) if not found]
if faults:
    sys.exit("\n".join(f"{document.name}: {fault}" for fault in faults))

headers = sorted({header for line in lines if line.startswith("## ") for header in re.findall(r"`([\w/]+\.h)`", line)})
out = [f"#include <{name}>" for name in ("unistd.h", "cstdio", "cstdlib", "ctime", "filesystem", "fstream", "functional", "memory",
                                         "regex", "sstream", "stdexcept", "string", "vector")]
out += [f'#include "{name}"' for name in headers]
out += ["""
namespace {
struct Free {
  void operator()(char* text) const { std::free(text); }
};
template <class Error, class Body>
bool throws(Body body) {
  try {
    body();
  } catch (const Error&) {
    return true;
  }
  return false;
}
int faults = 0;
void expect(bool holds, int line, const char* text) {
  if (!holds) std::fprintf(stderr, "utilities.md:%d: not true: %s\\n", line, text), ++faults;
}"""]
for index, example in enumerate(examples):
    out += [f"void example{index}() {{"]
    for number, line in example:
        out += [f'#line {number} "{document}"']
        out += [line if line.endswith(";") else f'expect({line}, {number}, R"code({line})code");']
    out += ["}"]
# What the examples write lands in a folder of its own.
out += ["}  // namespace", "int main() {",
        '  std::string folder = (std::filesystem::temp_directory_path() / "utilities-XXXXXX").string();',
        "  if (::mkdtemp(folder.data()) == nullptr) return 2;", "  std::filesystem::current_path(folder);",
        *(f"  example{index}();" for index in range(len(examples))),
        '  std::filesystem::current_path("/");', "  std::filesystem::remove_all(folder);",
        "  return faults == 0 ? 0 : 1;", "}", ""]
program.write_text("\n".join(out))
