#include "common/text/strings.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <tuple>

namespace {

TEST(Trim, RemovesClassicWhiteSpaceFromBothEnds) {
  using Row = std::tuple<std::string, std::string>;
  for (const auto& [text, trimmed] : std::to_array<Row>({
           {"  \t a b\r\n", "a b"},
           {" \t\n\v\f\r", ""},
           {"", ""},
           {"a", "a"},
           {"\xA0 a \x85", "\xA0 a \x85"},  // spaces in some locales, never here
       })) {
    SCOPED_TRACE(text);
    std::string changed = text;
    EXPECT_EQ(&trim(changed), &changed);
    EXPECT_EQ(changed, trimmed);
  }
}

}  // namespace
