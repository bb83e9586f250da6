#include "PiecewiseInput.hpp"

#include "openwbem/OW_HTTPUtils.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <istream>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using namespace std::string_literals;

using blocxx::Array;
using blocxx::String;
using OpenWBEM::HTTPHeaderMap;
using zol_test::PiecewiseInput;
using zol_test::stateOf;
namespace HTTPUtils = OpenWBEM::HTTPUtils;

std::string text(const String& string)
{
    return {string.c_str(), string.length()};
}

/// "name=value|name=value", in the map's order.
std::string text(const HTTPHeaderMap& map)
{
    std::string all;
    for (const auto& [name, value] : map)
    {
        all += (all.empty() ? "" : "|") + text(name) + "=" + text(value);
    }
    return all;
}

/// The words with a "|" between them.
std::string text(const Array<String>& words)
{
    std::string all;
    for (const String& word : words)
    {
        all += (all.empty() ? "" : "|") + text(word);
    }
    return all;
}

struct HeadCase
{
    std::string name;
    std::string input;
    bool result;
    std::string words; // of parseHeader; "before" was there before
    std::string map;
    std::string state;
    std::string left;
};

void PrintTo(const HeadCase& headCase, std::ostream* out)
{
    *out << headCase.name;
}

std::string nameOf(const testing::TestParamInfo<HeadCase>& info)
{
    return info.param.name;
}

void expectParseHeader(const HeadCase& expected, std::istream& input)
{
    Array<String> words(1, String("before"));
    HTTPHeaderMap map;
    EXPECT_EQ(HTTPUtils::parseHeader(map, words, input), expected.result);
    EXPECT_EQ(text(words), expected.words);
    EXPECT_EQ(text(map), expected.map);
    EXPECT_EQ(stateOf(input), expected.state);
}

void expectBuildMap(const HeadCase& expected, std::istream& input)
{
    HTTPHeaderMap map;
    EXPECT_EQ(HTTPUtils::buildMap(map, input), expected.result);
    EXPECT_EQ(text(map), expected.map);
    EXPECT_EQ(stateOf(input), expected.state);
}

std::string leftIn(std::istream& input)
{
    input.clear();
    return {std::istreambuf_iterator<char>(input), {}};
}

/// Each case is read from a plain stream, from a device buffer that holds all of it, and from one that gets it in small
/// pieces.
template <typename Expect>
void expectFromAllKindsOfInput(const HeadCase& expected, Expect expect)
{
    {
        SCOPED_TRACE("string stream");
        std::istringstream input(expected.input);
        expect(expected, input);
        EXPECT_EQ(leftIn(input), expected.left);
    }
    for (const std::size_t pieceSize : {std::size_t{65536}, std::size_t{1}, std::size_t{7}})
    {
        SCOPED_TRACE("device, pieces of " + std::to_string(pieceSize));
        PiecewiseInput buffer(expected.input, pieceSize);
        std::istream input(&buffer);
        expect(expected, input);
        EXPECT_EQ(buffer.left(), expected.left);
    }
}

class ParseHeader : public testing::TestWithParam<HeadCase>
{
};

TEST_P(ParseHeader, Outcome)
{
    expectFromAllKindsOfInput(GetParam(), expectParseHeader);
}

const HeadCase WHOLE_HEADS[] = {
    {"LinesWithCrLf", "HTTP/1.1 200 OK\r\nA: 1\r\n\r\nBODY", true, "HTTP/1.1|200|OK", "a=1", "good", "BODY"},
    {"LinesWithLf", "HTTP/1.1 200 OK\nA: 1\n\nBODY", true, "HTTP/1.1|200|OK", "a=1", "good", "BODY"},
    {"BlankLinesAtTheStartAreSkipped", "\r\n \r\n\nHTTP/1.1 200 OK\r\n\r\nB", true, "HTTP/1.1|200|OK", "", "good", "B"},
    {"RunsOfWhiteSpaceSeparateOnce", "  HTTP/1.1\t200   Not  Found \r\n\r\n", true, "HTTP/1.1|200|Not|Found", "",
     "good", ""},
    {"VerticalTabSeparatesAndFormFeedDoesNot", "HTTP/1.1\f200\v OK\r\n\r\n", true, "HTTP/1.1\f200|OK", "", "good", ""},
    {"TheFirstLineIsNotChecked", "A: 1\r\n\r\nB", true, "A:|1", "", "good", "B"},
    {"TheWordsReplaceThoseBefore", "HTTP/1.1 200 OK\n\nR", true, "HTTP/1.1|200|OK", "", "good", "R"},
    {"TwoWords", "HTTP/1.0 204\r\n\r\n", true, "HTTP/1.0|204", "", "good", ""},
};
INSTANTIATE_TEST_SUITE_P(Whole, ParseHeader, testing::ValuesIn(WHOLE_HEADS), nameOf);

const HeadCase CUT_HEADS[] = {
    {"EmptyInput", "", false, "before", "", "EF", ""},
    {"OneEmptyLine", "\r\n", false, "before", "", "EF", ""},
    {"TwoEmptyLines", "\n\n", false, "before", "", "EF", ""},
    {"BlankLine", "  \n", false, "before", "", "EF", ""},
    {"BlanksOnly", "   ", false, "before", "", "EF", ""},
    {"InTheFirstLineKeepsItsWords", "HTTP/1.1 200 OK", false, "HTTP/1.1|200|OK", "", "EF", ""},
    {"AfterTheFirstLine", "HTTP/1.1 200 OK\r\n", false, "HTTP/1.1|200|OK", "", "EF", ""},
    {"InAHeaderLineDropsIt", "HTTP/1.1 200 OK\r\nA: 1", false, "HTTP/1.1|200|OK", "", "EF", ""},
    {"AfterAHeaderLineKeepsIt", "HTTP/1.1 200 OK\r\nA: 1\r\n", false, "HTTP/1.1|200|OK", "a=1", "EF", ""},
    {"InTheEmptyLine", "HTTP/1.1 200 OK\r\nA: 1\r\n\r", false, "HTTP/1.1|200|OK", "a=1", "EF", ""},
};
INSTANTIATE_TEST_SUITE_P(Cut, ParseHeader, testing::ValuesIn(CUT_HEADS), nameOf);

const HeadCase REFUSED_HEADS[] = {
    {"CrInsideTheFirstLine", "HTTP/1.1 200 OK\rX: y\r\nA: 1\r\n\r\nB", false, "before", "", "F", "A: 1\r\n\r\nB"},
    {"NulInsideTheFirstLine", "HTTP/1.1 200 O\0K z\r\nA: 1\r\n\r\nB"s, false, "before", "", "F", "A: 1\r\n\r\nB"},
    {"NulAtTheStart", "\0HTTP/1.1 200 OK\r\nA: 1\r\n\r\nB"s, false, "before", "", "F", "A: 1\r\n\r\nB"},
    {"HeaderLineWithoutColon", "HTTP/1.1 200 OK\r\nbad line\r\nA: 1\r\n\r\nB", false, "HTTP/1.1|200|OK", "", "F",
     "A: 1\r\n\r\nB"},
    {"ContinuationOfTheFirstLine", "HTTP/1.1 200 OK\r\n X: 1\r\n\r\nR", false, "HTTP/1.1|200|OK", "", "F", "\r\nR"},
    {"BlankLineAmongTheHeaders", "HTTP/1.1 200 OK\r\nA: 1\r\n \r\nB: 2\r\n\r\n", false, "HTTP/1.1|200|OK", "a=1", "F",
     "B: 2\r\n\r\n"},
};
INSTANTIATE_TEST_SUITE_P(Refused, ParseHeader, testing::ValuesIn(REFUSED_HEADS), nameOf);

class BuildMap : public testing::TestWithParam<HeadCase>
{
};

TEST_P(BuildMap, Outcome)
{
    expectFromAllKindsOfInput(GetParam(), expectBuildMap);
}

const HeadCase ENDED_FIELDS[] = {
    {"EmptyInput", "", true, "", "", "EF", ""},
    {"EmptyLineWithCrLf", "\r\nBODY", true, "", "", "good", "BODY"},
    {"EmptyLineWithLf", "\nBODY", true, "", "", "good", "BODY"},
    {"EmptyLine", "A: 1\r\nB: 2\r\n\r\nBODY", true, "", "a=1|b=2", "good", "BODY"},
    {"EndOfInputAfterALine", "A: 1\r\nB: 2\r\n", true, "", "a=1|b=2", "EF", ""},
    {"EndOfInputAfterALastLineWithoutEnd", "A: 1\r\nB: 2", true, "", "a=1|b=2", "EF", ""},
    {"EndOfInputAfterALastContinuation", "A: 1\r\n 2", true, "", "a=1 2", "EF", ""},
    {"MixedLineEnds", "AA: 1\r\n\n\r\nR", true, "", "aa=1", "good", "\r\nR"},
};
INSTANTIATE_TEST_SUITE_P(EndedBy, BuildMap, testing::ValuesIn(ENDED_FIELDS), nameOf);

const HeadCase NAMES_AND_VALUES[] = {
    {"NamesInLowerCase", "Content-TYPE:text/xml\r\n\r\n", true, "", "content-type=text/xml", "good", ""},
    {"NamesInTheirByteOrder", "Z: 1\r\nA-B: 2\r\nA: 3\r\n\r\n", true, "", "a=3|a-b=2|z=1", "good", ""},
    {"WhiteSpaceAroundAName", "Name \t: v\r\n\r\n", true, "", "name=v", "good", ""},
    {"BlanksInsideAName", "GET / HTTP/1.1: x\r\n\r\n", true, "", "get / http/1.1=x", "good", ""},
    {"LettersBeyondAsciiStay", "\xC3\x84\xC3\x96: 1\r\n\r\n", true, "", "\xC3\x84\xC3\x96=1", "good", ""},
    {"BytesThatAreNoTextStay",
     "\xFF\xC4"
     "Ab: \xE9\r\n\r\n",
     true, "",
     "\xFF\xC4"
     "ab=\xE9",
     "good", ""},
    {"EmptyValue", "A:\r\n\r\n", true, "", "a=", "good", ""},
    {"ValueOfBlanks", "A:   \r\n\r\n", true, "", "a=", "good", ""},
    {"ColonsInsideAValue", "A: x:y:z \t\r\n\r\n", true, "", "a=x:y:z", "good", ""},
    {"AllAsciiWhiteSpaceAroundAValue", "AA: \f1\v\r\n\r\n", true, "", "aa=1", "good", ""},
    {"QuotesMeanNothing", "AA: q \"x: y\"\r\n\r\n", true, "", "aa=q \"x: y\"", "good", ""},
};
INSTANTIATE_TEST_SUITE_P(NamesAndValues, BuildMap, testing::ValuesIn(NAMES_AND_VALUES), nameOf);

const HeadCase CONTINUATIONS[] = {
    {"JoinedWithOneBlank", "AA: 1\r\n cont\r\n\r\nR", true, "", "aa=1 cont", "good", "R"},
    {"WhiteSpaceAroundIsDropped", "AA: 1\r\n\t c1 \r\n   c2\t\r\n\r\nR", true, "", "aa=1 c1 c2", "good", "R"},
    {"NoBlankAfterAnEmptyValue", "AA:\r\n cont\r\n\r\nR", true, "", "aa=cont", "good", "R"},
    {"OneBlankAfterAContinuedEmptyValue", "AA:\r\n cont\r\n more\r\n\r\nR", true, "", "aa=cont more", "good", "R"},
    {"OfANameOfOneLetter", "A: 1\r\n cont\r\n\r\nR", true, "", "a=1 cont", "good", "R"},
    {"ColonInside", "AA: 1\r\n cont: x\r\n\r\nR", true, "", "aa=1 cont: x", "good", "R"},
    {"BegunByAnyWhiteSpace", "AA: 1\r\n\vcont\r\n\fc2\r\n\r\nR", true, "", "aa=1 cont c2", "good", "R"},
    {"OfAJoinedValue", "AA: 1\r\nBB: 2\r\nAA: 3\r\n cont\r\n\r\nR", true, "", "aa=1, 3 cont|bb=2", "good", "R"},
    {"OfAnEmptyJoinedValue", "AA: 1\r\nAA:\r\n cont\r\n\r\nR", true, "", "aa=1, cont", "good", "R"},
};
INSTANTIATE_TEST_SUITE_P(Continuation, BuildMap, testing::ValuesIn(CONTINUATIONS), nameOf);

const HeadCase DUPLICATES[] = {
    {"InOrderWhateverTheCase", "Aa: 1\r\naA: 2\r\nAA:3\r\n\r\nR", true, "", "aa=1, 2, 3", "good", "R"},
    {"FirstEmpty", "AA: \r\nAA: x\r\n\r\nR", true, "", "aa=, x", "good", "R"},
    {"SecondEmpty", "AA: x\r\nAA: \r\n\r\nR", true, "", "aa=x, ", "good", "R"},
    {"BlankAfterOneName", "AA: x\r\nAA : y\r\n\r\nR", true, "", "aa=x, y", "good", "R"},
    {"SameContentLengthIsKeptOnce", "Content-Length: 5\r\nA: 1\r\ncontent-length: 5\r\nContent-Length:5\r\n\r\n", true,
     "", "a=1|content-length=5", "good", ""},
    {"OtherContentLengthIsJoined", "Content-Length: 5\r\nContent-Length: 6\r\n\r\n", true, "", "content-length=5, 6",
     "good", ""},
    {"ContentLengthSpelledOtherwiseIsJoined", "Content-Length: 5\r\nContent-Length: 05\r\n\r\n", true, "",
     "content-length=5, 05", "good", ""},
    {"SameValueOfAnotherNameIsJoined", "Age: 5\r\nAge: 5\r\n\r\n", true, "", "age=5, 5", "good", ""},
};
INSTANTIATE_TEST_SUITE_P(Duplicates, BuildMap, testing::ValuesIn(DUPLICATES), nameOf);

const HeadCase REFUSED_FIELDS[] = {
    {"BlankFirstLine", " \t\r\nBODY", false, "", "", "F", "BODY"},
    {"BlankLineAmongOthers", "AA: 1\r\n \r\nBB: 2\r\n\r\nR", false, "", "aa=1", "F", "BB: 2\r\n\r\nR"},
    {"NoColon", "AA: x\r\nnocolon\r\nBB: y\r\n\r\nR", false, "", "aa=x", "F", "BB: y\r\n\r\nR"},
    {"NoColonAtTheEndOfInput", "AA: x\r\nnocolon", false, "", "aa=x", "EF", ""},
    {"EmptyName", ": v\r\n\r\n", false, "", "", "F", "\r\n"},
    {"EmptyNameAndValue", "AA: 1\r\n:\r\n cont\r\n\r\nR", false, "", "aa=1", "F", " cont\r\n\r\nR"},
    {"ContinuationFirst", " cont\r\nA: 1\r\n\r\nR", false, "", "", "F", "A: 1\r\n\r\nR"},
    {"CrFirst", "\rBODY\nX: 1\n\nR", false, "", "", "F", "X: 1\n\nR"},
    {"CrInsideAValue", "AA: a\rb\r\nBB: y\r\n\r\nR", false, "", "", "F", "BB: y\r\n\r\nR"},
    {"CrAsLineEnd", "AA: a\rBB: y\r\n\r\nR", false, "", "", "F", "\r\nR"},
    {"CrAtTheFrontOfALine", "AA: 1\n\rBB: 2\n\nR", false, "", "aa=1", "F", "\nR"},
    {"TwoCrs", "AA: 1\r\r\n\r\nR", false, "", "", "F", "\r\nR"},
    {"CrAtTheEndOfInput", "A: 1\r\nB: 2\r", false, "", "a=1", "EF", ""},
    {"NulInsideAValue", "AA: a\0b\r\nBB: 2\r\n\r\nR"s, false, "", "", "F", "BB: 2\r\n\r\nR"},
    {"NulInsideAName", "A\0A: a\r\n\r\nR"s, false, "", "", "F", "\r\nR"},
    {"NulFirst", "\0A: a\r\n\r\nR"s, false, "", "", "F", "\r\nR"},
    {"NulInABlankLine", "AA: 1\r\n \0\r\nBB: 2\r\n\r\nR"s, false, "", "aa=1", "F", "BB: 2\r\n\r\nR"},
};
INSTANTIATE_TEST_SUITE_P(Refused, BuildMap, testing::ValuesIn(REFUSED_FIELDS), nameOf);

TEST(HTTPUtils, ParseHeaderReadsNothingFromAFailedStream)
{
    std::istringstream input("HTTP/1.1 200 OK\r\n\r\n");
    input.setstate(std::ios_base::failbit);
    expectParseHeader({"", "", false, "before", "", "F", ""}, input);
    EXPECT_EQ(leftIn(input), "HTTP/1.1 200 OK\r\n\r\n");
}

TEST(HTTPUtils, BuildMapFindsNoHeadersInAFailedStream)
{
    std::istringstream input("A: 1\n\nR");
    input.setstate(std::ios_base::failbit);
    expectBuildMap({"", "", true, "", "", "F", ""}, input);
    EXPECT_EQ(leftIn(input), "A: 1\n\nR");
}

TEST(HTTPUtils, EofbitAloneDoesNotPreventReading)
{
    std::istringstream input("A: 1\n\nR");
    input.setstate(std::ios_base::eofbit);
    expectBuildMap({"", "", true, "", "a=1", "E", ""}, input);
    EXPECT_EQ(leftIn(input), "R");
}

TEST(HTTPUtils, EntriesOfTheMapCountAsEarlierHeaders)
{
    HTTPHeaderMap map;
    map["a"] = "old";
    map["content-length"] = "5";
    std::istringstream input("A: 1\nContent-Length: 5\n\nR");
    EXPECT_TRUE(HTTPUtils::buildMap(map, input));
    EXPECT_EQ(text(map), "a=old, 1|content-length=5");
}

TEST(HTTPUtils, ACopyOfTheMapKeepsItsEntries)
{
    HTTPHeaderMap map;
    map["a"] = "old";
    const HTTPHeaderMap copy(map);
    std::istringstream input("A: 1\n more\n\n");
    EXPECT_TRUE(HTTPUtils::buildMap(map, input));
    EXPECT_EQ(text(map), "a=old, 1 more");
    EXPECT_EQ(text(copy), "a=old");
}

TEST(HTTPUtils, ParseHeaderWithoutWordsIsBuildMap)
{
    HTTPHeaderMap map;
    std::istringstream input("A: 1\r\nB: 2");
    EXPECT_TRUE(HTTPUtils::parseHeader(map, input));
    EXPECT_EQ(text(map), "a=1|b=2");
    EXPECT_EQ(stateOf(input), "EF");
}

} // namespace
