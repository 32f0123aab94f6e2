#include <gtest/gtest.h>

#include "host/check/support/locale_of_the_process.h"

int main(int argc, char** argv) {
  set_locale_of_the_process();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
