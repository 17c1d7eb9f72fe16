#include <gtest/gtest.h>
#include "zq_api.h"
TEST(SessionVersion, IsConstant) { EXPECT_STREQ(zq_api_version(), "v1.1.5"); }
