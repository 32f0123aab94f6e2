#include <gtest/gtest.h>

#include "testing/process_locale.h"

int main(int argc, char** argv) {
  set_process_locale();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
