// replay SUBJECT FOLDER: runs a target over its corpus without a fuzzer, as the regular tests do.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "fuzz/target.h"

namespace {

std::map<std::string_view, fuzz::Subject>& subjects() {
  static std::map<std::string_view, fuzz::Subject> all;
  return all;
}

}  // namespace

int fuzz::add(const char* name, Subject subject) {
  subjects()[name] = subject;
  return 0;
}

int main(int argc, char** argv) {
  if (argc != 3 || !subjects().contains(argv[1])) return 2;
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[2])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::fprintf(stderr, "%s\n", entry.path().filename().c_str());  // the last one named is the one that broke
    subjects()[argv[1]](fuzz::Input(bytes));
    ++count;
  }
  std::printf("%d inputs\n", count);
  return count > 0 ? 0 : 1;
}
