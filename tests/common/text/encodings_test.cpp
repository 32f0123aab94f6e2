#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <locale>
#include <regex>
#include <string>
#include <vector>

#include "common/text/base64.h"
#include "common/text/email.h"
#include "common/text/octal.h"
#include "common/text/url_encode.h"
#include "common/text/uuid.h"
#include "testing/oracles.h"

namespace {

std::string base64_of(const std::string& bytes) {
  return base64(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

TEST(Base64, WritesFourCharactersForThreeBytes) {
  EXPECT_EQ(base64_of("a"), "YQ==");
  EXPECT_EQ(base64_of("ab"), "YWI=");
  EXPECT_EQ(base64_of("abca"), "YWJjYQ==");
  EXPECT_EQ(base64_of({"\0\0\0\xFF\xFF\xFF", 6}), "AAAA////");
  std::string bytes;  // the values 0 to 63 in a row
  for (unsigned v = 0; v < 64; v += 4) {
    const unsigned group = v << 18 | (v + 1) << 12 | (v + 2) << 6 | (v + 3);
    for (const unsigned shift : {16U, 8U, 0U}) bytes += static_cast<char>(group >> shift & 0xFF);
  }
  EXPECT_EQ(base64_of(bytes), "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
}

TEST(Base64, IsNullWithoutAText) {
  const unsigned char byte = 'a';
  EXPECT_EQ(base64(nullptr, 1), nullptr);
  EXPECT_NE(base64(&byte, 1), nullptr);
  EXPECT_EQ(base64(&byte, 0), nullptr);          // and the text before is gone: the leak sanitizer looks
  EXPECT_EQ(base64(&byte, ULONG_MAX), nullptr);  // longer than any memory
}

TEST(UrlEncode, KeepsUnreservedBytesOnly) {
  const std::string kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  for (int byte = 1; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    std::array<char, 4> group{};
    std::snprintf(group.data(), group.size(), "%%%02X", static_cast<unsigned>(byte));
    const std::string expected = kept.find(text) != std::string::npos ? text : group.data();
    EXPECT_EQ(URLEncode(text.c_str(), true), expected);
    EXPECT_EQ(URLEncode(text.c_str(), false), text == "/" ? text : expected);
  }
  EXPECT_EQ(URLEncode("", true), "");
  EXPECT_EQ(URLEncode("a b/c~d", true), "a%20b%2Fc~d");
}

TEST(NewUuid, IsRandomInTheUsualForm) {
  const std::string id = NewUUID();
  EXPECT_TRUE(std::regex_match(id, std::regex("[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}"))) << id;
  EXPECT_EQ(id[14], '4');
  EXPECT_NE(id, NewUUID());
}

TEST(IsEmailValid, DoesWhatThePatternDoes) {
  std::vector<std::string> texts{""};
  for (std::size_t done = 0; texts[done].size() < 8; ++done) {
    EXPECT_EQ(is_email_valid(texts[done]), oracles::is_email(texts[done])) << texts[done];
    for (const char c : {'a', '_', '.', '@'}) texts.push_back(texts[done] + c);
  }
  EXPECT_TRUE(is_email_valid("a1.b_c_d@b1.c.d"));
  for (const char* text : {"a-b@b.c", "a@b-c.d", "a@b.c ", " a@b.c", "\xE9@b.c"}) EXPECT_FALSE(is_email_valid(text));
  EXPECT_TRUE(is_email_valid(std::string(1'000'000, 'a') + "@b.c"));
}

// The classic locale, but with two more letters.
struct Masks {
  std::array<std::ctype_base::mask, std::ctype<char>::table_size> masks{};
};
struct WithMoreLetters : Masks, std::ctype<char> {
  WithMoreLetters() : std::ctype<char>(masks.data()) {
    std::copy_n(classic_table(), masks.size(), masks.begin());
    masks['-'] |= alpha;
    masks[0xE9] |= alpha;
  }
};

TEST(IsEmailValid, TakesTheLettersOfTheGlobalLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new WithMoreLetters));
  const auto& letters = std::use_facet<std::ctype<char>>(std::locale());
  EXPECT_TRUE(is_email_valid("-@b.-"));
  EXPECT_FALSE(is_email_valid("+@b.c"));
  // Where the library looks beyond ASCII at all.
  EXPECT_EQ(is_email_valid("\xE9@b.\xE9"), letters.is(std::ctype_base::alpha, '\xE9'));
  EXPECT_FALSE(is_email_valid("\xE8@b.c"));
  std::locale::global(before);
}

TEST(OctalToDecimal, ReadsDecimalDigitsAsOctal) {
  EXPECT_EQ(octalToDecimal(755), 493);
  EXPECT_EQ(octalToDecimal(19), 17);
  EXPECT_EQ(octalToDecimal(-17), -15);
  EXPECT_EQ(octalToDecimal(0), 0);
  EXPECT_EQ(octalToDecimal(INT_MIN), -295602088);  // 2147483648
}

}  // namespace
