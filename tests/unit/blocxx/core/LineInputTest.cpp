#include "blocxx/StringBuffer.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using blocxx::StringBuffer;

namespace
{

struct Line
{
    std::string text;
    std::ios_base::iostate state;

    bool operator==(const Line& other) const { return text == other.text && state == other.state; }
};

std::ostream& operator<<(std::ostream& out, const Line& line)
{
    return out << '"' << line.text << "\" with state " << line.state;
}

constexpr auto GOOD = std::ios_base::goodbit;
constexpr auto END = std::ios_base::eofbit;
constexpr auto NOTHING_LEFT = std::ios_base::eofbit | std::ios_base::failbit;

/// All lines of a text, up to the first failure.
std::vector<Line> linesOf(const std::string& text)
{
    std::istringstream input(text);
    std::vector<Line> lines;
    while (!input.fail())
    {
        StringBuffer line;
        line.getLine(input);
        lines.push_back({std::string(line.c_str(), line.length()), input.rdstate()});
    }
    return lines;
}

using Lines = std::vector<Line>;

} // namespace

TEST(LineInput, TheLastLineNeedsNoLineEnd)
{
    EXPECT_EQ((Lines{{"a", GOOD}, {"b", END}, {"", NOTHING_LEFT}}), linesOf("a\nb"));
}

TEST(LineInput, TakesCrLfForALineEnd)
{
    EXPECT_EQ((Lines{{"a", GOOD}, {"b", GOOD}, {"", NOTHING_LEFT}}), linesOf("a\r\nb\r\n"));
}

TEST(LineInput, NoInputIsAFailure)
{
    EXPECT_EQ((Lines{{"", NOTHING_LEFT}}), linesOf(""));
}

TEST(LineInput, AnEmptyLineIsEmpty)
{
    EXPECT_EQ((Lines{{"", GOOD}, {"", NOTHING_LEFT}}), linesOf("\n"));
}

TEST(LineInput, TheFirstCrCutsTheLineWhereverItIs)
{
    EXPECT_EQ((Lines{{"a", GOOD}, {"c", END}, {"", NOTHING_LEFT}}), linesOf("a\rb\nc"));
}

TEST(LineInput, KeepsNulsBlanksAndHighBytes)
{
    EXPECT_EQ((Lines{{std::string("a\0b", 3), GOOD}, {"c", END}, {"", NOTHING_LEFT}}),
              linesOf(std::string("a\0b\nc", 5)));
    EXPECT_EQ((Lines{{std::string("a\0", 2), GOOD}, {"", NOTHING_LEFT}}), linesOf(std::string("a\0\rb\n", 5)));
    EXPECT_EQ((Lines{{"  lead", GOOD}, {"", NOTHING_LEFT}}), linesOf("  lead\n"));
    EXPECT_EQ((Lines{{"\xff", GOOD}, {"", NOTHING_LEFT}}), linesOf("\xff\n"));
}

TEST(LineInput, ReadsNothingFromAFailedStream)
{
    std::istringstream input("a\nb");
    input.setstate(std::ios_base::failbit);
    StringBuffer line;
    EXPECT_STREQ("", line.getLine(input));
    EXPECT_EQ(std::ios_base::failbit, input.rdstate());
    input.clear();
    EXPECT_STREQ("a", line.getLine(input));
}

TEST(LineInput, LeavesGcountAlone)
{
    std::istringstream input("abc\nd");
    input.get();
    StringBuffer().getLine(input);
    EXPECT_EQ(1, input.gcount());
}

TEST(LineInput, ABufferReplacesOrAppends)
{
    std::istringstream input("one\r\ntwo\nthree");
    StringBuffer buffer("old");
    EXPECT_STREQ("one", buffer.getLine(input));
    EXPECT_STREQ("onetwo", buffer.getLine(input, false));
    EXPECT_STREQ("three", buffer.getLine(input));
    EXPECT_TRUE(input.eof());
    EXPECT_FALSE(input.fail());
}

TEST(LineInput, TheCutAtACrLooksAtABuffersOldContentToo)
{
    std::istringstream input("new\n");
    StringBuffer buffer("old\rer ");
    EXPECT_STREQ("old", buffer.getLine(input, false));
}

TEST(LineInput, ALongLineKeepsTheBuffersRoomTrue)
{
    std::istringstream input(std::string(1000, 'x') + "\n");
    StringBuffer buffer(4);
    buffer.getLine(input);
    EXPECT_EQ(1000U, buffer.length());
    EXPECT_GT(buffer.allocated(), buffer.length());
    buffer.append('y');
    EXPECT_EQ(1001U, buffer.length());
}
