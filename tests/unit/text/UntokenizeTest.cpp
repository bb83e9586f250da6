#include "zol/text/untokenize.hpp"

#include <gtest/gtest.h>

using blocxx::Array;
using blocxx::String;
using ZOLNS2::untokenize;

namespace
{

Array<String> words(std::initializer_list<const char*> list)
{
    return Array<String>(list.begin(), list.end());
}

} // namespace

TEST(Untokenize, SeparatorIsPutBetweenTheWords)
{
    EXPECT_EQ(untokenize(words({"HTTP/1.1", "200", "OK"}), " "), "HTTP/1.1 200 OK");
    EXPECT_EQ(untokenize(words({"a", "b"}), ", "), "a, b");
}

TEST(Untokenize, OneWordHasNoSeparator)
{
    EXPECT_EQ(untokenize(words({"a"}), " "), "a");
}

TEST(Untokenize, NoWordsGiveNothing)
{
    EXPECT_EQ(untokenize(Array<String>(), " "), "");
}

TEST(Untokenize, EmptyWordsKeepTheirSeparators)
{
    EXPECT_EQ(untokenize(words({"", "", ""}), "-"), "--");
    EXPECT_EQ(untokenize(words({"a", "", "b"}), " "), "a  b");
}

TEST(Untokenize, EmptySeparatorJoins)
{
    EXPECT_EQ(untokenize(words({"a", "b"}), ""), "ab");
}
