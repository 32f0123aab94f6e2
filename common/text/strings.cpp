#include "common/text/strings.h"

std::string& trim(std::string& text) {
  constexpr const char* white_space = " \t\n\v\f\r";
  text.erase(text.find_last_not_of(white_space) +
             1);  // no position + 1 is 0: nothing but white space goes entirely
  text.erase(0, text.find_first_not_of(white_space));
  return text;
}
