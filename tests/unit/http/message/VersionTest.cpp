#include "zol/http/Version.hpp"

#include <gtest/gtest.h>

using namespace ZOLNS2::HTTP;

TEST(Version, HasTheValuesZeroAndOne)
{
    EXPECT_EQ(static_cast<int>(HTTP_1_0), 0);
    EXPECT_EQ(static_cast<int>(HTTP_1_1), 1);
}

TEST(Version, ReadsAsOnTheWire)
{
    EXPECT_STREQ(versionText(HTTP_1_0), "HTTP/1.0");
    EXPECT_STREQ(versionText(HTTP_1_1), "HTTP/1.1");
}

TEST(Version, AnyOtherValueReadsAsOneDotOne)
{
    EXPECT_STREQ(versionText(static_cast<Version>(2)), "HTTP/1.1");
    EXPECT_STREQ(versionText(static_cast<Version>(4000000000U)), "HTTP/1.1");
}
