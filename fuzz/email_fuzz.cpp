// A line is an address: the answer for a short one is that of the standard library's expressions.
#include <regex>

#include "common/text/email.h"
#include "fuzz/target.h"

FUZZ_TARGET(email) {
  static const std::regex expression(R"((\w+)(\.|_)?(\w*)@(\w+)(\.(\w+))+)");
  const std::string text = input.rest().substr(0, 40);
  HOLDS(is_email_valid(text) == std::regex_match(text, expression));
}
