// The first line is an expression, the second a name: the answer is that of a matcher that tries everything.
#include "common/text/wildcard.h"
#include "fuzz/target.h"
#include "testing/oracles.h"

namespace {

constexpr std::size_t longest = 12;  // trying everything takes its time

}  // namespace

FUZZ_TARGET(wildcard) {
  std::string expression = input.line(), name = input.line();
  expression = expression.substr(0, longest).c_str();
  name = name.substr(0, longest).c_str();
  for (const bool ignore_case : {false, true}) {
    const bool answer = IsNameInExpressionA(expression.c_str(), name.c_str(), ignore_case);
    HOLDS(answer == oracles::matches_wildcard(expression, name, ignore_case));
    HOLDS(answer ==
          IsNameInExpression(oracles::widened(expression).c_str(), oracles::widened(name).c_str(), ignore_case));
    HOLDS(!answer || IsNameInExpressionA(expression.c_str(), name.c_str(), true));
  }
}
