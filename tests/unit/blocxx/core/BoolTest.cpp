#include "blocxx/Bool.hpp"

#include <gtest/gtest.h>

#include <sstream>

using blocxx::Bool;

TEST(Bool, IsFalseFromTheStartAndConvertsBothWays)
{
    EXPECT_FALSE(Bool());
    const Bool yes = true;
    const bool plain = yes;
    EXPECT_TRUE(plain);
    EXPECT_TRUE(yes == Bool(true));
    EXPECT_TRUE(yes != Bool(false));
}

TEST(Bool, PrintsItselfAsAWord)
{
    std::ostringstream out;
    out << Bool(true) << ' ' << Bool(false);
    EXPECT_EQ("true false", out.str());
    EXPECT_EQ("true", Bool(true).toString());
}
