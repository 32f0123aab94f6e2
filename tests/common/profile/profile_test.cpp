#include "common/profile/profile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "testing/temporary_folder.h"
#include "tests/common/process/inheritable_descriptors.h"

namespace {

// The setting's text in a buffer with plenty of room, "-" when there is none.
std::string setting(const std::string& file, const std::string& section, const std::string& key) {
  std::string text(4000, '#');
  text.resize(GetPrivateProfileString(section, key, "-", text.data(), static_cast<int>(text.size()), file));
  return text;
}

TEST(Profile, FindsTheSetting) {
  const std::string z(3000, 'z');
  const std::string with_nul("[a]\nk\0=1\nk=2\0 3\nl=4\n", 20);
  const std::string rows[][4] = {
      {"[Net]\nPort=80\n", " net ", "PORT", "80"},
      {"[Net]\nPort=80", "net", " port", "-"},  // the key isn't trimmed
      {"[ NET\t]\r\n  port=80 \r\n", "net", "port", "80"},
      {"[net]\nport = 80", "net", "port", "-"},
      {"[net]\nport = 80", "net", "port ", " 80"},
      {"[a]\nmode=a=b", "a", "mode", "a"},
      {"[a]\nk=\nk=81", "a", "k", "81"},
      {"[a]\nk==x\nk=1", "a", "k", "-"},  // empty, and yet the first
      {"[a]\nk==\nk=1", "a", "k", "-"},
      {"[a]\n=\n=v", "a", "", "v"},
      {"[a]\n==\n=v", "a", "", "-"},
      {"[a]\nk=1\nk=2", "a", "k", "1"},
      {"[a]\n[a]\nk=1", "a", "k", "-"},
      {"[a]\n[broken\nk=1", "a", "k", "-"},
      {"[a]\n[]\nk=1", "a", "k", "-"},
      {"[a] ;note\n[broken\nk=1\n[a]\nk=2", "a", "k", "2"},
      {"[]\nk=1\n[ ]\nk=2", " ", "k", "2"},  // three characters at least make a header
      {"[[a]]\nk=1", "[a]", "k", "1"},
      {"k=1\n[b]\nk=2", "a", "k", "-"},
      {"k=1\n[b]\nk=2", "", "k", "-"},
      {"[a]\n\n;k=1\n# note\nk=2", "a", "k", "2"},
      {"[a]\n;k=1", "a", ";k", "1"},
      {"[\xC3\x84 I]\n\xC3\x84=Value", "\xC3\x84 i", "\xC3\x84", "Value"},
      {"[\xC3\x84]\n\xC3\x84=1", "\xC3\xA4", "\xC3\xA4", "-"},  // no case beyond ASCII
      {"[a]\n\xA0k=1", "a", "k", "-"},
      {with_nul, "a", "k", "2"},
      {with_nul, "a", "l", "4"},                            // a NUL hides the rest of its line only
      {"[a]\nk=" + z + "\n", "a", "k", z.substr(0, 2045)},  // the line breaks after 2047 bytes
      {z.substr(0, 2047) + "[a]\nk=1", "a", "k", "1"},
      {"[a]\n" + z.substr(0, 2047) + "[b]\nk=1", "a", "k", "-"},
      {"[a]\nk=" + z.substr(0, 2044) + with_nul.substr(5, 1) + "j=1", "a", "j", "1"},  // the NUL is byte 2047
  };
  const TemporaryFolder folder;
  for (const auto& [content, section, key, expected] : rows) {
    EXPECT_EQ(setting(folder.write("profile", content), section, key), expected) << content;
  }
}

TEST(Profile, ASettingThatDoesNotFitGivesWayToTheDefault) {
  const TemporaryFolder folder;
  const std::string file = folder.write("profile", "[a]\nnine=123456789\nempty==x\n");
  struct Row {
    std::string key, default_value;
    int size;
    unsigned int count;
    std::string left;  // in a destination of twelve "#", up to and including what was written
  };
  const std::string end(1, '\0');
  for (const Row& row : {Row{"nine", "d", 10, 9, "123456789" + end}, Row{"nine", "d", 9, 1, "d" + end},
                         Row{"nine", "123456789", 9, 0, ""}, Row{"none", "12345678", 9, 8, "12345678" + end},
                         Row{"empty", "d", 9, 1, "d" + end}, Row{"empty", "long", 4, 0, end},
                         Row{"none", "", 1, 0, end}, Row{"nine", "", 0, 0, ""}, Row{"nine", "", -1, 0, ""},
                         Row{"none", "d" + end + "e", 4, 3, "d" + end + "e" + end}}) {
    std::string destination(12, '#');
    const unsigned int count =
        GetPrivateProfileString("a", row.key, row.default_value, destination.data(), row.size, file);
    EXPECT_EQ(count, row.count) << row.key << row.size;
    EXPECT_EQ(destination, row.left + std::string(12 - row.left.size(), '#')) << row.key << row.size;
  }
  EXPECT_EQ(GetPrivateProfileString("a", "nine", "d", nullptr, 10, file), 0U);
}

TEST(Profile, ReadsNumbers) {
  const TemporaryFolder folder;
  const std::pair<unsigned int, std::vector<std::string>> rows[] = {
      {12, {"12", "12abc", " \t+12=8", "-4294967284"}},  // the last one wraps
      {0, {"abc", "- 1", "0x10", "", "-99999999999999999999"}},
      {4294967295, {"-1", "99999999999999999999"}},
  };
  for (const auto& [expected, texts] : rows) {
    for (const std::string& text : texts) {
      const std::string file = folder.write("profile", "[a]\nn=" + text + "\n");
      EXPECT_EQ(GetPrivateProfileInt(" A", "N", 7, file), expected) << text;
    }
  }
}

TEST(Profile, OnlyAFileThatDoesNotOpenGivesTheDefaultNumber) {
  const TemporaryFolder folder;
  EXPECT_EQ(GetPrivateProfileInt("a", "n", 7, folder / "missing"), 7U);
  EXPECT_EQ(GetPrivateProfileInt("a", "n", 7, folder.write("empty", "")), 0U);
  EXPECT_EQ(GetPrivateProfileInt("a", "n", 7, folder.path()), 0U);  // opens, but every read fails
  EXPECT_EQ(setting(folder / "missing", "a", "n"), "-");
  EXPECT_EQ(setting(folder.path(), "a", "n"), "-");
}

TEST(Profile, NoChildInheritsTheFile) {
  const TemporaryFolder folder;
  const std::string pipe = folder / "pipe";
  EXPECT_EQ(inheritable_while([&] { EXPECT_EQ(setting(pipe, "a", "k"), "v"); }, pipe, "[a]\nk=v\n"), 0);
}

std::string without_ends(const std::string& text) {
  static const std::regex white("^[ \\t\\n\\v\\f\\r]+|[ \\t\\n\\v\\f\\r]+$");
  return std::regex_replace(text, white, "");
}

std::string lower(const std::string& text) {
  static const std::regex upper("A");
  return std::regex_replace(text, upper, "a");
}

// The rules once more, as plainly as they can be said. The one letter in upper case is "A".
std::string by_expression(const std::string& file, const std::string& section, const std::string& key) {
  using Pieces = std::sregex_token_iterator;
  static const std::regex divider("=");
  std::ifstream stream(file);
  bool found = false;
  for (std::string line; std::getline(stream, line);) {
    line = without_ends(line);
    if (!found) {
      const bool header = line.size() >= 3 && line.front() == '[' && line.back() == ']';
      found = header && lower(without_ends(line.substr(1, line.size() - 2))) == section;
      continue;
    }
    if (line.starts_with('[')) break;
    const std::vector<std::string> pieces(Pieces(line.begin(), line.end(), divider, -1), Pieces());
    if (pieces.size() >= 2 && lower(pieces[0]) == key) return pieces[1].empty() ? "-" : pieces[1];
  }
  return "-";
}

TEST(Profile, IsWhatSplittingByTheExpressionGives) {
  const TemporaryFolder folder;
  std::mt19937 random(20211);
  const std::string rows[] = {"\n", "\n", "[a]\n", "[", "]", "=", "=", "a", "A", " ", "b", "\r\n"};
  for (int round = 0; round < 3000; ++round) {
    std::string content = round % 2 == 0 ? "" : "[a]\n";
    for (int count = 0; count < 16; ++count) content += rows[random() % std::size(rows)];
    const std::string file = folder.write("profile", content);
    for (const std::string section : {"a", ""}) {
      for (const std::string key : {"a", "", "a "}) {
        ASSERT_EQ(setting(file, section, key), by_expression(file, section, key)) << content;
      }
    }
  }
}

}  // namespace
