#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "bench/fixtures.h"
#include "bench/rows.h"
#include "common/path/exact_path.h"
#include "common/profile/profile.h"
#include "localdisk/normalize_path.h"

#if defined(LOCALDISK_BENCH_INIH)
#include <ini.h>
#endif

namespace {

const std::string& file_of_sections() {
  static const std::string path = [] {
    std::string text;
    for (int section = 0; section < 100; ++section) {
      text += "[section " + std::to_string(section) + "]\n";
      for (int key = 0; key < 10; ++key) text += "key" + std::to_string(key) + "=value of the key\n";
    }
    return bench::text_file("sections.ini", text);
  }();
  return path;
}

const std::string& file_of_lines() {
  static const std::string path = [] {
    std::string text = "[only]\n";
    for (int key = 0; key < 10'000; ++key) text += "key" + std::to_string(key) + "=value of the key\n";
    return bench::text_file("lines.ini", text);
  }();
  return path;
}

unsigned int setting(const std::string& file, const char* section, const char* key) {
  std::array<char, 64> value{};
  return GetPrivateProfileString(section, key, "", value.data(), static_cast<int>(value.size()), file);
}

// Reads the lines and holds each against one text.
int lines_with(const std::string& file, const char* wanted) {
  std::FILE* const stream = std::fopen(file.c_str(), "r");
  std::array<char, 2048> line;
  int found = 0;
  while (std::fgets(line.data(), static_cast<int>(line.size()), stream) != nullptr)
    found += std::strncmp(line.data(), wanted, std::strlen(wanted)) == 0 ? 1 : 0;
  std::fclose(stream);
  return found;
}

#if defined(LOCALDISK_BENCH_INIH)
struct Wanted {
  const char *section, *key;
  std::string value;
};

int keep_wanted(void* user, const char* section, const char* name, const char* value) {
  auto& wanted = *static_cast<Wanted*>(user);
  if (std::strcmp(section, wanted.section) == 0 && std::strcmp(name, wanted.key) == 0) wanted.value = value;
  return 1;
}

std::size_t by_peer(const std::string& file, const char* section, const char* key) {
  Wanted wanted{section, key, {}};
  ::ini_parse(file.c_str(), keep_wanted, &wanted);
  return wanted.value.size();
}
#endif

template <class File>
void add_profile(const char* name, File file, const char* section, const char* key) {
  bench::Row row(name);
  row.module([=] { return setting(file(), section, key); });
  row.baseline([=] { return lines_with(file(), key); });
#if defined(LOCALDISK_BENCH_INIH)
  row.peer([=] { return by_peer(file(), section, key); });
#endif
}

// The components of `path` as a list, and then as a text with '/' before each.
std::string joined_components(std::string_view path) {
  std::vector<std::string_view> kept;
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    const std::string_view component = path.substr(start, end - start);
    start = end + 1;
    if (component == "..") {
      if (!kept.empty()) kept.pop_back();
    } else if (!component.empty() && component != ".") {
      kept.push_back(component);
    }
  }
  std::string text;
  for (const std::string_view component : kept) (text += '/') += component;
  return text;
}

}  // namespace

void bench::add_settings_and_path_rows() {
  add_profile("profile, last of 100 sections", file_of_sections, "section 99", "key9");
  add_profile("profile, 10 000 lines", file_of_lines, "only", "key9999");
  constexpr std::string_view path = "/home/user/Documents/../Pictures/./2024//holiday/IMG_0001.jpeg";
  Row("ToExactPath").module([=] { return ToExactPath(path.data()); }).baseline([=] {
    return joined_components(path);
  });
  Row("normalize_path")
      .module([=] {
        char* const plain = normalize_path(path.data(), path.size());
        const char last = plain[10];
        std::free(plain);
        return last;
      })
      .baseline([=] { return joined_components(path); });
}
