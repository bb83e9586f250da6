#include "Text.hpp"

#include <gtest/gtest.h>

TEST(Text, ATokenHasNoSeparatorsAndIsNotEmpty)
{
    EXPECT_TRUE(zolget::isToken("X-Token_1!"));
    for (const char* text : {"", "a b", "a:b", "a\r\n", "a\"", "a/b", "\xc3\xa4"})
    {
        EXPECT_FALSE(zolget::isToken(text)) << text;
    }
}

TEST(Text, ComparesWithoutRegardToCase)
{
    EXPECT_TRUE(zolget::equalsIgnoringCase("Content-Length", "content-LENGTH"));
    EXPECT_FALSE(zolget::equalsIgnoringCase("content", "content-length"));
    EXPECT_TRUE(zolget::equalsIgnoringCase("", ""));
}

TEST(Text, TrimsBlanksAndTabs)
{
    EXPECT_EQ(zolget::trimmed(" \ta b\t "), "a b");
    EXPECT_EQ(zolget::trimmed(" \t "), "");
    EXPECT_EQ(zolget::trimmed(""), "");
}
