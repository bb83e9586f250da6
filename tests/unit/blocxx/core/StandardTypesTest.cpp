#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>

using blocxx::Array;
using blocxx::String;

namespace
{

std::size_t lengthOf(std::string_view text)
{
    return text.size();
}

/// As several libraries have one: it converts to both.
struct Text
{
    operator std::string() const { return "as string"; }
    operator std::string_view() const { return "as view"; }
};

} // namespace

TEST(StringView, IsMadeIntoAStringWithItsNuls)
{
    EXPECT_EQ(String(std::string_view("a\0b", 3)).length(), 3U);
    EXPECT_TRUE(String(std::string_view()).empty());
}

TEST(StringView, IsNotMadeIntoAStringUnasked)
{
    EXPECT_FALSE((std::is_convertible_v<std::string_view, String>));
    EXPECT_TRUE((std::is_convertible_v<std::string, String>));
}

TEST(StringView, IsWhatAStringPassesFor)
{
    const String text(std::string_view("a\0b", 3));
    EXPECT_EQ(lengthOf(text), 3U);
    const std::string_view view = text;
    EXPECT_EQ(view.data(), text.c_str());
    EXPECT_EQ(std::string(text), std::string("a\0b", 3));
    EXPECT_TRUE(std::string_view("x") == String("x"));
    EXPECT_TRUE(String("x") != std::string_view("y"));
}

TEST(StringView, IsPassedOverByWhatConvertsToAStdStringToo)
{
    EXPECT_EQ(String(Text()), "as string");
}

TEST(StringView, LeavesTheStdStringItsComparisons)
{
    EXPECT_TRUE(String("x") == std::string("x"));
    EXPECT_TRUE(std::string("x") == String("x"));
    EXPECT_TRUE(String("a") < std::string("b"));
    EXPECT_EQ(String("a") + std::string("b"), "ab");
}

TEST(StringBytes, AreGoneThroughByARangeBasedFor)
{
    std::string seen;
    const String text("a\0b", 3);
    for (const char c : text)
    {
        seen += c;
    }
    EXPECT_EQ(seen, std::string("a\0b", 3));
}

TEST(StringBytes, CanBeChangedInPlace)
{
    String text("abc");
    const String before = text;
    for (char& c : text)
    {
        ++c;
    }
    EXPECT_EQ(text, "bcd");
    EXPECT_EQ(before, "abc");
}

TEST(StringHash, IsThatOfTheBytes)
{
    const std::hash<String> hash;
    EXPECT_EQ(hash("text"), std::hash<std::string_view>()("text"));
    EXPECT_NE(hash(String("a\0b", 3)), hash(String("a\0c", 3)));
    std::unordered_map<String, int> ports{{"http", 80}, {"https", 443}};
    EXPECT_EQ(ports.at("https"), 443);
}

TEST(StringNumbers, AreMadeOfIntegersOfEveryWidth)
{
    EXPECT_EQ(String(static_cast<short>(-1)), "-1");
    EXPECT_EQ(String(static_cast<unsigned short>(65535)), "65535");
    EXPECT_EQ(String(static_cast<std::uint8_t>(7)), "7");
    EXPECT_EQ(String(-1L), "-1");
    EXPECT_EQ(String(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(String(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
    EXPECT_EQ(String(std::size_t{5}), "5");
    EXPECT_EQ(String(std::intmax_t{-5}), "-5");
}

TEST(StringNumbers, AreReadAtEveryWidth)
{
    EXPECT_EQ(String("255").toUInt8(), 255);
    EXPECT_THROW(String("256").toUInt8(), blocxx::StringConversionException);
    EXPECT_EQ(String("4294967295").toUInt32(), 4294967295U);
    EXPECT_THROW(String("4294967296").toUInt32(), blocxx::StringConversionException);
    EXPECT_EQ(String("-128").toInt8(), -128);
    EXPECT_THROW(String("-129").toInt8(), blocxx::StringConversionException);
    EXPECT_EQ(String("-32768").toInt16(), -32768);
    EXPECT_EQ(String("-2147483648").toInt32(), std::numeric_limits<int>::min());
    EXPECT_EQ(String("-9223372036854775808").toInt64(), std::numeric_limits<long>::min());
    EXPECT_EQ(String("-7f").toInt32(16), -127);
}

TEST(StringNumbers, HaveNoSignButTheMinusOfASignedOne)
{
    for (const char* const text : {"+1", " 1", "--1", "-", "1-"})
    {
        EXPECT_THROW(String(text).toInt32(), blocxx::StringConversionException) << text;
    }
    EXPECT_THROW(String("-1").toUInt32(), blocxx::StringConversionException);
    EXPECT_THROW(String("-0").toUInt8(), blocxx::StringConversionException);
}

TEST(ArrayOf, HoldsTheElementsInTheirOrder)
{
    const Array<int> three = Array<int>::of({1, 2, 3});
    ASSERT_EQ(three.size(), 3U);
    EXPECT_EQ(three[0], 1);
    EXPECT_EQ(three[2], 3);
    EXPECT_TRUE(Array<String>::of({}).empty());
    EXPECT_EQ(Array<String>::of({"a", "b"}).back(), "b");
}

TEST(ArrayOf, LeavesBracesTheirMeaning)
{
    EXPECT_EQ(Array<int>{3}.size(), 3U);
    EXPECT_EQ((Array<int>{3, 7}.size()), 3U);
}
