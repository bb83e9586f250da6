#include "TerminalText.hpp"

#include <gtest/gtest.h>

#include <string>

using zolget::printable;

TEST(TerminalText, EscapesControlCharacters)
{
    EXPECT_EQ(printable("a\x1b[31mb\r\n\t\x7f"), "a\\x1b[31mb\\x0d\\x0a\\x09\\x7f");
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
}

TEST(TerminalText, EscapesEveryC0AndC1)
{
    for (int code = 0; code < 0xa0; ++code)
    {
        const bool isControl = code < 0x20 || code >= 0x7f;
        const std::string byte(1, static_cast<char>(code));
        EXPECT_EQ(printable(byte) != byte, isControl) << code;
        if (code >= 0x80)
        {
            const std::string encoded = "\xc2" + byte;
            EXPECT_EQ(printable(encoded).substr(0, 6), "\\xc2\\x") << code;
        }
    }
}

TEST(TerminalText, LeavesOtherCharactersAlone)
{
    for (const char* text : {"plain ~", "\xc2\xa0", "\xc3\xa4", "\xe2\x82\xac", "\xed\x9f\xbf", "\xf0\x9f\x98\x80",
                             "\xf4\x8f\xbf\xbf", "\xc3\x9f and \xd0\x9b"})
    {
        EXPECT_EQ(printable(text), text);
    }
}

TEST(TerminalText, EscapesWhatIsNotUtf8)
{
    EXPECT_EQ(printable("\x9b[31m"), "\\x9b[31m");
    EXPECT_EQ(printable("\xc3"), "\\xc3");
    EXPECT_EQ(printable("\xc0\x9b"), "\\xc0\\x9b");
    EXPECT_EQ(printable("\xe0\x82\x9b"), "\\xe0\\x82\\x9b");
    EXPECT_EQ(printable("\xf0\x80\x82\x9b"), "\\xf0\\x80\\x82\\x9b");
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80");
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
    EXPECT_EQ(printable("\xe2\x82"), "\\xe2\\x82");
    EXPECT_EQ(printable("\xff\xe4\xf6"), "\\xff\\xe4\\xf6");
}
