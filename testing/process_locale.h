// Lets tests run as in a host that has set a locale: the environment variable LOCALDISK_TEST_LOCALE names it.
#pragma once

#include <clocale>
#include <cstdlib>
#include <locale>

inline void set_process_locale() {
  const char* const name = std::getenv("LOCALDISK_TEST_LOCALE");
  if (name != nullptr) std::locale::global(std::locale(name));  // the C library's too
}
