#include "exchange/Text.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace ZOLNS2::HTTP;
using blocxx::String;

TEST(ExchangeText, ComparesWithoutTheCaseOfAsciiLettersOnly)
{
    EXPECT_TRUE(equalsIgnoringCase("Chunked", "cHUNKED"));
    EXPECT_FALSE(equalsIgnoringCase("chunked", "chunke"));
    EXPECT_FALSE(equalsIgnoringCase("chunke", "chunked"));
    EXPECT_FALSE(equalsIgnoringCase("@", "`"));
    EXPECT_FALSE(equalsIgnoringCase("[", "{"));
    EXPECT_TRUE(equalsIgnoringCase("AZ", "az"));
}

TEST(ExchangeText, OuterBlanksAreBlanksAndTabs)
{
    EXPECT_EQ(withoutOuterBlanks(" \t a b\t "), "a b");
    EXPECT_EQ(withoutOuterBlanks(" \t"), "");
    EXPECT_EQ(withoutOuterBlanks(""), "");
    EXPECT_EQ(withoutOuterBlanks("\na\n"), "\na\n");
}

TEST(ExchangeText, ControlCharactersAreShownByTheirNumbers)
{
    EXPECT_EQ(printable(std::string_view("a\0\x1b[31m\x7f\r\n\t", 11)), String("a\\x00\\x1b[31m\\x7f\\x0d\\x0a\\x09"));
    EXPECT_EQ(printable(std::string_view("\xc2\x9b"
                                         "31m\xc2\xa0")),
              String("\\xc2\\x9b31m\xc2\xa0"))
        << "C1 in UTF-8";
    EXPECT_EQ(printable(std::string_view("\x9b"
                                         "31m")),
              String("\\x9b31m"))
        << "C1 as a byte";
}

TEST(ExchangeText, Utf8StaysAndOtherBytesAreShownByTheirNumbers)
{
    EXPECT_EQ(printable(std::string_view("z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80")),
              String("z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80"));
    EXPECT_EQ(printable(std::string_view("\xfc")), String("\\xfc"));
    EXPECT_EQ(printable(std::string_view("\xe2\x82")), String("\\xe2\\x82")) << "cut";
    EXPECT_EQ(printable(std::string_view("\xc3(")), String("\\xc3("));
    EXPECT_EQ(printable(std::string_view("\xc0\x9b")), String("\\xc0\\x9b")) << "overlong";
}

TEST(ExchangeText, ALongTextIsCutWhenItIsShown)
{
    const String shown = printable(std::string_view(std::string(100000, 'x')));
    EXPECT_EQ(shown, String(std::string(512, 'x') + "..."));
    EXPECT_EQ(printable(std::string_view(std::string(512, 'x'))), String(std::string(512, 'x')));
}

} // namespace
