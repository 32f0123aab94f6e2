#include <gtest/gtest.h>
#include "common/time/rfc3339.h"
TEST(Rfc3339, Placeholder) { EXPECT_EQ(TimeToRFC3339(0), "1970-01-01T00:00:00.000Z"); }
