#include <gtest/gtest.h>

#include <cstring>

#include "xvosc.h"

TEST(Version, RecordAndStablePointer) {
    const XvoLibraryVersion* v = xvoscGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, xvoscGetLibVersion());
    EXPECT_EQ(v->major, 6);
    EXPECT_EQ(v->minor, 0);
    EXPECT_EQ(v->majorBuild, 167);
    EXPECT_EQ(v->build, 665);
    EXPECT_EQ(std::memcmp(v->targetCpu, "n8\0\0", 4), 0);
    EXPECT_STREQ(v->name, "xvoscn8-6.0.dll");
    EXPECT_STREQ(v->version, "6.0 Update 2 build 167.41");
    EXPECT_STREQ(v->buildDate, "Feb 23 2009");
}
