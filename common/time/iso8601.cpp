#include "common/time/iso8601.h"

#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "common/time/iso8601_word.h"

namespace {

// A stream swallows whatever is thrown while it reads and only turns bad, exhausted memory included, unless
// its mask says otherwise. The mask is the caller's, so it is borrowed; putting it back throws what it asked
// for itself.
std::string next_word(std::istream& in) {
  std::string word;
  const std::ios_base::iostate mask = in.exceptions();
  if (!in.bad()) in.exceptions(mask | std::ios_base::badbit);
  bool is_broken = false;
  try {
    in >> word;
  } catch (const std::bad_alloc&) {
    in.exceptions(mask);
    throw;
  } catch (...) {
    is_broken = true;  // reads like the end of the stream, and is seen in its state
  }
  in.exceptions(mask);
  if (is_broken) in.setstate(std::ios_base::badbit);  // not every library does so when the first character throws
  return word;
}

}  // namespace

time_t parse8601(std::istream&& in) { return localdisk::instant_of_word(next_word(in)); }

time_t RFC3339ToLocalTM(const char* text) {
  constexpr const char* white_space = " \t\n\v\f\r";
  if (text == nullptr) return 0;
  text += std::strspn(text, white_space);
  return localdisk::instant_of_word(std::string_view(text, std::strcspn(text, white_space)));
}
