#include "blocxx/LogMessagePatternFormatter.hpp"

#include "blocxx/LogMessage.hpp"
#include "blocxx/StringBuffer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <string>
#include <thread>

namespace
{

using blocxx::LogMessage;
using blocxx::LogMessagePatternFormatter;
using blocxx::LogMessagePatternFormatterException;
using blocxx::String;
using blocxx::StringBuffer;
using testing::MatchesRegex;

std::string format(const std::string& pattern, const LogMessage& message)
{
    StringBuffer output;
    LogMessagePatternFormatter(pattern).formatMessage(message, output);
    return {output.c_str(), output.length()};
}

std::string format(const std::string& pattern)
{
    return format(pattern, LogMessage("a.b.c", "ERROR", "hello", "file.cpp", 42, "void f()"));
}

std::string formatText(const std::string& pattern, const std::string& text)
{
    return format(pattern, LogMessage("a.b.c", "ERROR", text, nullptr, -1, nullptr));
}

struct PatternCase
{
    const char* name;
    const char* pattern;
    const char* output;
};

class Pattern : public testing::TestWithParam<PatternCase>
{
};

TEST_P(Pattern, Output)
{
    EXPECT_EQ(format(GetParam().pattern), GetParam().output);
}

std::string nameOf(const testing::TestParamInfo<PatternCase>& info)
{
    return info.param.name;
}

const PatternCase CONVERSIONS[] = {
    {"Message", "<%m>", "<hello>"},
    {"Category", "%p", "ERROR"},
    {"Component", "%c", "a.b.c"},
    {"LastPieceOfTheComponent", "%c{1}", "c"},
    {"LastTwoPiecesOfTheComponent", "%c{2}", "b.c"},
    {"AsManyPiecesAsThereAre", "%c{3}", "a.b.c"},
    {"MorePiecesThanThereAre", "%c{9}", "a.b.c"},
    {"EmptyOptionIsTheWholeComponent", "%c{}", "a.b.c"},
    {"NoPiecesIsTheWholeComponent", "%c{0}", "a.b.c"},
    {"OtherConversionsHaveNoOption", "%m{1}", "hello{1}"},
    {"File", "%F", "file.cpp"},
    {"Line", "%L", "42"},
    {"Function", "%M", "void f()"},
    {"FileAndLine", "%l", "file.cpp(42)"},
    {"SeveralInARow", "%p%c%m", "ERRORa.b.chello"},
    {"Empty", "", ""},
};
INSTANTIATE_TEST_SUITE_P(Conversions, Pattern, testing::ValuesIn(CONVERSIONS), nameOf);

const PatternCase WIDTHS[] = {
    {"PaddedOnTheRight", "%-8p|", "ERROR   |"},
    {"PaddedOnTheLeft", "%8p|", "   ERROR|"},
    {"CutAndPadded", "%7.3p|", "    ROR|"},
    {"WideAndLongEnough", "%10.7p|", "     ERROR|"},
    {"CutToNothing", "%.0m|", "|"},
    {"CutKeepsTheLastBytes", "%.3p", "ROR"},
    {"LeftJustifiedCutKeepsTheFirstBytes", "%-.3p", "ERR"},
    {"SeveralDashesAreOne", "%--5m", "hello"},
    {"NarrowerThanTheText", "%2m", "hello"},
    {"AsWideAsTheText", "%5m", "hello"},
    {"LiteralsAreNotPadded", "%-8p", "ERROR   "},
};
INSTANTIATE_TEST_SUITE_P(Widths, Pattern, testing::ValuesIn(WIDTHS), nameOf);

const PatternCase LITERALS[] = {
    {"PercentSign", "100%%", "100%"},
    {"LineEnd", "a%nb", "a\nb"},
    {"Escapes", "a\\n\\r\\t\\\\b", "a\n\r\t\\b"},
    {"UnknownEscape", "a\\qb", "a\\qb"},
    {"BackslashAtTheEnd", "a\\", "a\\"},
    {"PercentSignAtTheEnd", "a%", "a%"},
    {"DashAtTheEnd", "%-", "%-"},
    {"WidthAtTheEnd", "%-5", "%-5"},
    {"DotAtTheEnd", "%5.", "%5."},
    {"PrecisionAtTheEnd", "%5.3", "%5.3"},
    {"HexadecimalEscape", "\\x41G", "AG"},
    {"HexadecimalEscapeOfOneDigit", "\\x9|", "\t|"},
    {"LargestHexadecimalEscape", "\\x7fG", "\x7fG"},
    {"HexadecimalEscapeThatIsTooLarge", "\\x80", "\\x80"},
    {"HexadecimalEscapeTakesAllDigits", "\\x41BC", "\\x41BC"},
    {"HexadecimalEscapeWithoutDigits", "\\xg", "\\xg"},
    {"HexadecimalEscapeAtTheEnd", "\\x", "\\x"},
};
INSTANTIATE_TEST_SUITE_P(Literals, Pattern, testing::ValuesIn(LITERALS), nameOf);

TEST(LogMessagePatternFormatter, AppendsToWhatIsThere)
{
    StringBuffer output("before ");
    LogMessagePatternFormatter("%m").formatMessage(LogMessage("c", "p", "text", nullptr, -1, nullptr), output);
    EXPECT_EQ(output.toString(), "before text");
}

TEST(LogMessagePatternFormatter, UnknownPlaces)
{
    EXPECT_EQ(formatText("<%F|%L|%M|%l>", "m"), "<|-1||>");
    EXPECT_EQ(formatText("<%3F>", "m"), "<   >");
}

TEST(LogMessagePatternFormatter, ComponentsWithEmptyPieces)
{
    const auto lastTwo = [](const char* component)
    { return format("%c{2}", LogMessage(component, "p", "m", nullptr, -1, nullptr)); };
    EXPECT_EQ(lastTwo("a..c"), ".c");
    EXPECT_EQ(lastTwo(".c"), ".c");
    EXPECT_EQ(lastTwo("a.b."), "b.");
    EXPECT_EQ(lastTwo(""), "");
    EXPECT_EQ(lastTwo("..."), ".");
}

TEST(LogMessagePatternFormatter, BytesOfNulAreKept)
{
    EXPECT_EQ(formatText("%m", std::string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(LogMessagePatternFormatter, MessageAsXml)
{
    EXPECT_EQ(formatText("%e", "a<b"), "<![CDATA[a<b]]>");
    EXPECT_EQ(formatText("%e", ""), "<![CDATA[]]>");
}

TEST(LogMessagePatternFormatter, TextAfterTheLastEndMarkInXmlIsLost)
{
    EXPECT_EQ(formatText("%e", "x]]>y"), "<![CDATA[x]]>]]&gt;<![CDATA[]]>");
    EXPECT_EQ(formatText("%e", "x]]>y]]>z"), "<![CDATA[x]]>]]&gt;<![CDATA[y]]>]]&gt;<![CDATA[]]>");
}

TEST(LogMessagePatternFormatter, ThreadAndProcess)
{
    EXPECT_EQ(format("%t"), std::to_string(::pthread_self()));
    EXPECT_EQ(format("%P"), std::to_string(::getpid()));
}

TEST(LogMessagePatternFormatter, MillisecondsSinceTheLibraryWasLoaded)
{
    const long before = std::stol(format("%r"));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const long after = std::stol(format("%r"));
    EXPECT_GE(before, 0);
    EXPECT_GE(after - before, 20);
    EXPECT_LT(after, 3600000);
}

std::string localTime(const char* format)
{
    const std::time_t now = std::time(nullptr);
    std::tm fields{};
    ::localtime_r(&now, &fields);
    char text[100];
    return {text, std::strftime(text, sizeof text, format, &fields)};
}

/// The output of a pattern between two equal local times, so that no second passes meanwhile.
std::string atOneTime(const std::string& pattern, const char* format, std::string& time)
{
    for (;;)
    {
        time = localTime(format);
        std::string output = ::format(pattern);
        if (time == localTime(format))
        {
            return output;
        }
    }
}

TEST(LogMessagePatternFormatter, DatesByName)
{
    std::string time;
    for (const char* const pattern : {"%d", "%d{}", "%d{ISO8601}", "%d{iso8601}"})
    {
        const std::string output = atOneTime(pattern, "%Y-%m-%d %H:%M:%S,", time);
        EXPECT_THAT(output, MatchesRegex(time + "[0-9][0-9][0-9]"));
    }
    const std::string absolute = atOneTime("%d{Absolute}", "%H:%M:%S,", time);
    EXPECT_THAT(absolute, MatchesRegex(time + "[0-9][0-9][0-9]"));
    const std::string date = atOneTime("%d{DATE}", "%d %b %Y %H:%M:%S,", time);
    EXPECT_THAT(date, MatchesRegex(time + "[0-9][0-9][0-9]"));
}

TEST(LogMessagePatternFormatter, DatesByFormat)
{
    std::string time;
    const std::string date = atOneTime("%d{%Y/%m/%d}|", "%Y/%m/%d|", time);
    EXPECT_EQ(date, time);
    EXPECT_THAT(format("%d{%Q %Q}"), MatchesRegex("[0-9][0-9][0-9] %Q"));
    EXPECT_EQ(format("%d{%%Q}"), "%Q");
    EXPECT_EQ(format("%d{x}"), "x");
}

TEST(LogMessagePatternFormatter, ADateOfMoreThan254BytesIsEmpty)
{
    EXPECT_EQ(format("%d{" + std::string(254, 'x') + "}"), std::string(254, 'x'));
    EXPECT_EQ(format("%d{" + std::string(255, 'x') + "}"), "");
}

struct ErrorCase
{
    const char* name;
    const char* pattern;
    int code;
    const char* message;
};

class PatternError : public testing::TestWithParam<ErrorCase>
{
};

TEST_P(PatternError, IsThrownAtConstruction)
{
    try
    {
        const LogMessagePatternFormatter formatter(GetParam().pattern);
        FAIL() << "no exception";
    }
    catch (const LogMessagePatternFormatterException& e)
    {
        EXPECT_STREQ(e.getMessage(), GetParam().message);
        EXPECT_EQ(e.getErrorCode(), GetParam().code);
        EXPECT_EQ(e.getSubClassId(), -48);
        EXPECT_STREQ(e.type(), "LogMessagePatternFormatterException");
    }
}

const ErrorCase ERRORS[] = {
    {"NoDigitAfterTheDot", "a%5.xm", 0,
     "Invalid pattern \"a%5.xm\" in position 5. Was expecting a digit, instead got char x."},
    {"NoPrecisionAtAll", "%.m", 0, "Invalid pattern \"%.m\" in position 3. Was expecting a digit, instead got char m."},
    {"OptionThatIsNoNumber", "%c{x}", 1,
     "Invalid pattern \"%c{x}\" in position 5. A positive integer is required for precision option (x)."},
    {"NegativeOption", "ab%c{-1}", 1,
     "Invalid pattern \"ab%c{-1}\" in position 8. A positive integer is required for precision option (-1)."},
    {"UnknownLetter", "ab%q", 2, "Invalid pattern \"ab%q\" in position 4. Unsupported conversion (q)."},
    {"LineEndWithAWidth", "%5n", 2, "Invalid pattern \"%5n\" in position 3. Unsupported conversion (n)."},
    {"PercentSignWithAWidth", "%5%", 2, "Invalid pattern \"%5%\" in position 3. Unsupported conversion (%)."},
    {"DashAfterAWidth", "%5-m", 2, "Invalid pattern \"%5-m\" in position 3. Unsupported conversion (-)."},
    {"UnclosedOptionOfAComponent", "%c{2", 3, "Invalid pattern \"%c{2\" in position 4. The option is not closed (2)."},
    {"UnclosedOptionOfADate", "%d{%H", 3, "Invalid pattern \"%d{%H\" in position 5. The option is not closed (%H)."},
};
INSTANTIATE_TEST_SUITE_P(LogMessagePatternFormatter, PatternError, testing::ValuesIn(ERRORS),
                         [](const testing::TestParamInfo<ErrorCase>& each) { return std::string(each.param.name); });

TEST(LogMessagePatternFormatter, HugeWidthsAreCapped)
{
    EXPECT_EQ(format("%99999999999999999999m").size(), 65535U);
    EXPECT_EQ(format("%.99999999999999999999m"), "hello");
}

} // namespace
