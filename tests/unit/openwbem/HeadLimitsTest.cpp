#include "PiecewiseInput.hpp"
#include "support/Allocations.hpp"

#include "openwbem/OW_HTTPUtils.hpp"

#include <gtest/gtest.h>

#include <istream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

namespace
{

using blocxx::Array;
using blocxx::String;
using OpenWBEM::HTTPHeaderMap;
using zol_test::PiecewiseInput;
using zol_test::stateOf;
namespace HTTPUtils = OpenWBEM::HTTPUtils;

const std::string FIRST_LINE = "HTTP/1.1 200 OK\r\n";

struct Head
{
    bool result = false;
    Array<String> words;
    HTTPHeaderMap map;
    std::string state;
    std::string left;
};

Head parseDevice(const std::string& text, PiecewiseInput::EEnd end = PiecewiseInput::E_ORDERLY)
{
    PiecewiseInput buffer(text, 65536, end);
    std::istream input(&buffer);
    Head head;
    head.result = HTTPUtils::parseHeader(head.map, head.words, input);
    head.state = stateOf(input);
    head.left = buffer.left();
    return head;
}

Head parseStream(const std::string& text)
{
    std::istringstream input(text);
    Head head;
    head.result = HTTPUtils::parseHeader(head.map, head.words, input);
    head.state = stateOf(input);
    return head;
}

void expectAccepted(const std::string& text)
{
    const Head fromDevice = parseDevice(text);
    EXPECT_TRUE(fromDevice.result);
    EXPECT_EQ(fromDevice.state, "good");
    const Head fromStream = parseStream(text);
    EXPECT_TRUE(fromStream.result);
    EXPECT_EQ(fromStream.state, "good");
}

void expectRefused(const std::string& text)
{
    const Head fromDevice = parseDevice(text);
    EXPECT_FALSE(fromDevice.result);
    EXPECT_EQ(fromDevice.state, "F");
    const Head fromStream = parseStream(text);
    EXPECT_FALSE(fromStream.result);
    EXPECT_EQ(fromStream.state, "F");
}

std::string repeated(const std::string& text, std::size_t times)
{
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
    {
        all += text;
    }
    return all;
}

/// A header line of that length, without its end.
std::string lineOf(std::size_t length)
{
    return "A: " + std::string(length - 3, 'x');
}

TEST(HeadLimits, HaveTheirDocumentedValues)
{
    EXPECT_EQ(HTTPUtils::MAX_HEADER_LINE_LENGTH, 65536U);
    EXPECT_EQ(HTTPUtils::MAX_HEADER_LINES, 1000U);
    EXPECT_EQ(HTTPUtils::MAX_HEAD_SIZE, 262144U);
    EXPECT_EQ(HTTPUtils::MAX_LEADING_EMPTY_LINES, 16U);
}

TEST(HeadLimits, SixteenEmptyLinesAtTheStart)
{
    expectAccepted(repeated("\r\n", HTTPUtils::MAX_LEADING_EMPTY_LINES) + FIRST_LINE + "\r\n");
    expectRefused(repeated("\r\n", HTTPUtils::MAX_LEADING_EMPTY_LINES + 1) + FIRST_LINE + "\r\n");
}

TEST(HeadLimits, LengthOfAHeaderLine)
{
    expectAccepted(FIRST_LINE + lineOf(HTTPUtils::MAX_HEADER_LINE_LENGTH) + "\r\n\r\n");
    expectAccepted(FIRST_LINE + lineOf(HTTPUtils::MAX_HEADER_LINE_LENGTH) + "\n\n");
    expectRefused(FIRST_LINE + lineOf(HTTPUtils::MAX_HEADER_LINE_LENGTH + 1) + "\r\n\r\n");
    expectRefused(FIRST_LINE + lineOf(HTTPUtils::MAX_HEADER_LINE_LENGTH + 1) + "\n\n");
}

TEST(HeadLimits, LengthOfTheFirstLine)
{
    const std::string words = "HTTP/1.1 200 ";
    expectAccepted(words + std::string(HTTPUtils::MAX_HEADER_LINE_LENGTH - words.size(), 'x') + "\r\n\r\n");
    expectRefused(words + std::string(HTTPUtils::MAX_HEADER_LINE_LENGTH - words.size() + 1, 'x') + "\r\n\r\n");
}

TEST(HeadLimits, LengthOfALastLineWithoutEnd)
{
    for (const std::size_t surplus : {std::size_t{0}, std::size_t{1}})
    {
        HTTPHeaderMap map;
        std::istringstream input(lineOf(HTTPUtils::MAX_HEADER_LINE_LENGTH + surplus));
        EXPECT_EQ(HTTPUtils::buildMap(map, input), surplus == 0);
    }
}

TEST(HeadLimits, AnEndlessLineIsNotReadToItsEnd)
{
    const std::size_t endless = std::size_t{10} * 1024 * 1024;
    const Head head = parseDevice(FIRST_LINE + lineOf(endless));
    EXPECT_FALSE(head.result);
    EXPECT_TRUE(head.map.empty());
    EXPECT_GT(head.left.size(), endless - 2 * HTTPUtils::MAX_HEADER_LINE_LENGTH);

    std::istringstream input(lineOf(endless) + "\r\n\r\n");
    HTTPHeaderMap map;
    EXPECT_FALSE(HTTPUtils::buildMap(map, input));
    input.clear();
    EXPECT_LT(input.tellg(), std::streamoff{2 * HTTPUtils::MAX_HEADER_LINE_LENGTH});
}

TEST(HeadLimits, ThousandHeaderLines)
{
    expectAccepted(FIRST_LINE + repeated("A: 1\r\n", HTTPUtils::MAX_HEADER_LINES) + "\r\n");
    expectRefused(FIRST_LINE + repeated("A: 1\r\n", HTTPUtils::MAX_HEADER_LINES + 1) + "\r\n");
}

TEST(HeadLimits, ContinuationsAreHeaderLines)
{
    expectAccepted(FIRST_LINE + "A: 1\r\n" + repeated(" 1\r\n", HTTPUtils::MAX_HEADER_LINES - 1) + "\r\n");
    expectRefused(FIRST_LINE + "A: 1\r\n" + repeated(" 1\r\n", HTTPUtils::MAX_HEADER_LINES) + "\r\n");
}

TEST(HeadLimits, SizeOfTheHead)
{
    const std::string line = lineOf(HTTPUtils::MAX_HEADER_LINE_LENGTH - 2) + "\r\n";
    const std::string head = FIRST_LINE + repeated(line, 3);
    const std::size_t rest = HTTPUtils::MAX_HEAD_SIZE - head.size() - std::string("\r\n\r\n").size();
    expectAccepted(head + lineOf(rest) + "\r\n\r\n");
    expectRefused(head + lineOf(rest + 1) + "\r\n\r\n");
}

/// Whether header lines that the input ends are accepted.
bool buildsMap(const std::string& text)
{
    HTTPHeaderMap map;
    std::istringstream input(text);
    return HTTPUtils::buildMap(map, input);
}

TEST(HeadLimits, HoldForHeaderLinesAloneAsWell)
{
    EXPECT_TRUE(buildsMap(repeated("A: 1\r\n", HTTPUtils::MAX_HEADER_LINES)));
    EXPECT_FALSE(buildsMap(repeated("A: 1\r\n", HTTPUtils::MAX_HEADER_LINES + 1)));
    const std::string lines = repeated(lineOf(HTTPUtils::MAX_HEADER_LINE_LENGTH - 2) + "\r\n", 3);
    const std::size_t rest = HTTPUtils::MAX_HEAD_SIZE - lines.size();
    EXPECT_TRUE(buildsMap(lines + lineOf(rest)));
    EXPECT_FALSE(buildsMap(lines + lineOf(rest + 1)));
}

TEST(HeadLimits, WhatCameBeforeALimitStays)
{
    const Head head = parseDevice(FIRST_LINE + "B: 2\r\n" + lineOf(HTTPUtils::MAX_HEADER_LINE_LENGTH + 1) + "\r\n\r\n");
    EXPECT_FALSE(head.result);
    EXPECT_EQ(head.words.size(), 3U);
    ASSERT_EQ(head.map.count("b"), 1U);
    EXPECT_EQ(head.map.find("b")->second, "2");
    EXPECT_EQ(head.map.count("a"), 0U);
}

/// What is allocated for a head of that many lines of one name.
std::size_t bytesAllocatedFor(std::size_t lines)
{
    const std::string text = FIRST_LINE + repeated("A: " + std::string(200, 'x') + "\r\n", lines) + "\r\n";
    PiecewiseInput buffer(text);
    std::istream input(&buffer);
    HTTPHeaderMap map;
    Array<String> words;
    return zol_test::allocationsOf([&] { EXPECT_TRUE(HTTPUtils::parseHeader(map, words, input)); }).bytes;
}

TEST(HeadLimits, ManyLinesOfOneNameCostNoMoreThanTheirBytes)
{
    EXPECT_LT(bytesAllocatedFor(1000), 20 * bytesAllocatedFor(100));
}

TEST(HeadInput, NoByteAfterTheHeadIsTaken)
{
    const Head head = parseDevice(FIRST_LINE + "A: 1\r\n\r\n\r\nBODY");
    EXPECT_TRUE(head.result);
    EXPECT_EQ(head.left, "\r\nBODY");
}

TEST(HeadInput, TheDeviceIsNotAskedBeyondTheHead)
{
    PiecewiseInput buffer(FIRST_LINE + "A: 1\r\n\r\n");
    std::istream input(&buffer);
    HTTPHeaderMap map;
    Array<String> words;
    EXPECT_TRUE(HTTPUtils::parseHeader(map, words, input));
    EXPECT_EQ(buffer.reads(), 1);
}

TEST(HeadInput, FailedInputIsNotTheEndOfTheHeaders)
{
    PiecewiseInput buffer("A: 1\r\n", 65536, PiecewiseInput::E_ERROR);
    std::istream input(&buffer);
    HTTPHeaderMap map;
    EXPECT_FALSE(HTTPUtils::buildMap(map, input));
    EXPECT_EQ(stateOf(input), "EFB");
    EXPECT_EQ(map["a"], "1");
}

TEST(HeadInput, TheStreamsOwnExceptionMaskIsHeeded)
{
    std::istringstream input("nocolon\r\n\r\n");
    input.exceptions(std::ios_base::failbit);
    HTTPHeaderMap map;
    EXPECT_THROW(HTTPUtils::buildMap(map, input), std::ios_base::failure);
    EXPECT_EQ(stateOf(input), "F");
}

} // namespace
