// A line is an address: the answer for a short one is that of the standard library's expressions.
#include "common/text/email.h"
#include "fuzz/target.h"
#include "testing/oracles.h"

FUZZ_TARGET(email) {
  const std::string text = input.rest().substr(0, 40);
  HOLDS(is_email_valid(text) == oracles::is_email(text));
}
