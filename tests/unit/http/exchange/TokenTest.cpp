#include "exchange/Token.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace ZOLNS2::HTTP;

TEST(ExchangeToken, ConsistsOfTokenCharactersAlone)
{
    EXPECT_TRUE(isToken("!#$%&'*+-.^_`|~019AZaz"));
    EXPECT_FALSE(isToken(""));
    for (int c = 0; c < 256; ++c)
    {
        const char byte = static_cast<char>(c);
        const bool isAlphanumeric =
            (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
        const bool isOther = c != 0 && std::string("!#$%&'*+-.^_`|~").find(byte) != std::string::npos;
        EXPECT_EQ(isToken(std::string("a") + byte), isAlphanumeric || isOther) << c;
    }
}

TEST(ExchangeToken, AFieldValueHoldsNoControlCharactersButTabs)
{
    EXPECT_TRUE(isFieldValue(""));
    EXPECT_TRUE(isFieldValue(" a\tb \xc3\xa4\xff"));
    for (const char c : {'\0', '\r', '\n', '\x01', '\x1f', '\x7f'})
    {
        EXPECT_FALSE(isFieldValue(std::string("a") + c));
    }
}

TEST(ExchangeToken, IsTakenFromTheFront)
{
    std::string_view text = "text/html";
    EXPECT_EQ(takeToken(text), "text");
    EXPECT_EQ(text, "/html");
    EXPECT_EQ(takeToken(text), "");
    text = "whole";
    EXPECT_EQ(takeToken(text), "whole");
    EXPECT_EQ(text, "");
}

} // namespace
