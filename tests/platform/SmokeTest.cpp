#include <gtest/gtest.h>
#include "tq/platform/Array.h"
TEST(Smoke, Builds) { EXPECT_EQ(tq::arr({tq::str("a")})->count(), 1u); }
