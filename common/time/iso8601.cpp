#include "common/time/iso8601.h"

#include <new>
#include <string>
#include <string_view>

#include "common/text/ascii.h"
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
  if (text == nullptr) return 0;
  while (localdisk::is_space(*text)) ++text;
  const char* end = text;
  while (*end != '\0' && !localdisk::is_space(*end)) ++end;
  return localdisk::instant_of_word(std::string_view(text, static_cast<std::size_t>(end - text)));
}
