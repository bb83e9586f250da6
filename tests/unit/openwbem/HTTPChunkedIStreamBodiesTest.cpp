// Which bodies are complete, malformed or cut, and how large their framing may be.

#include "ChunkedReading.hpp"

#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <ostream>
#include <string>

namespace
{

using namespace std::string_literals;

using blocxx::BaseStreamBuffer;
using OpenWBEM::HTTPChunkedIStream;
using zol_test::inputStateOf;
using zol_test::readInAllWays;
using zol_test::stateOf;

struct BodyCase
{
    std::string name;
    std::string wire;
    std::string data;
    std::string wrappedState;
    std::string left; // of complete bodies
};

void PrintTo(const BodyCase& bodyCase, std::ostream* out)
{
    *out << bodyCase.name;
}

std::string nameOf(const testing::TestParamInfo<BodyCase>& info)
{
    return info.param.name;
}

class CompleteBody : public testing::TestWithParam<BodyCase>
{
};

TEST_P(CompleteBody, EndsWithoutBadbit)
{
    readInAllWays(
        GetParam().wire,
        [](HTTPChunkedIStream& body, const std::string& data, const std::string& wrappedState, const std::string& left)
        {
            EXPECT_EQ(data, GetParam().data);
            EXPECT_EQ(stateOf(body), "EF");
            EXPECT_EQ(wrappedState, GetParam().wrappedState);
            EXPECT_EQ(left, GetParam().left);
            EXPECT_EQ(inputStateOf(body), BaseStreamBuffer::E_INPUT_ENDED);
        });
}

const std::string BLOCK(4096, 'x');

const BodyCase COMPLETE_BODIES[] = {
    {"OneChunk", "5\r\nhello\r\n0\r\n\r\n", "hello", "good", ""},
    {"NextMessageIsLeft", "5\r\nhello\r\n3\r\nabc\r\n0\r\n\r\nNEXT", "helloabc", "good", "NEXT"},
    {"LineEndsOfLf", "5\nhello\n0\n\nN", "hello", "good", "N"},
    {"CapitalDigit", "A\r\n0123456789\r\n0\r\n\r\n", "0123456789", "good", ""},
    {"SmallDigit", "a\r\n0123456789\r\n0\r\n\r\n", "0123456789", "good", ""},
    {"LeadingZeros", "0000000000000005\r\nhello\r\n000\r\n\r\n", "hello", "good", ""},
    {"Extension", "5;ext=1\r\nhello\r\n0\r\n\r\n", "hello", "good", ""},
    {"BlanksBeforeAnExtension", "5 \t; a=\"x\"\r\nhello\r\n0\r\n\r\n", "hello", "good", ""},
    {"BlanksAfterTheSize", "5 \t\r\nhello\r\n0 \r\n\r\n", "hello", "good", ""},
    {"NoData", "0\r\n\r\nN", "", "good", "N"},
    {"Trailer", "0\r\nT: x\r\n\r\nNEXT", "", "good", "NEXT"},
    {"TrailerAndExtensionOfTheLastChunk", "5\r\nhello\r\n0;last\r\nT: v\r\nU: w\n\r\nN", "hello", "good", "N"},
    {"EndOfInputAfterTheLastSize", "0\r\n", "", "good", ""},
    {"EndOfInputInsideTheTrailer", "5\r\nhello\r\n0\r\nT: x\r\nU", "hello", "good", ""},
    {"EndOfInputInsideTheLastLineEnd", "5\r\nhello\r\n0\r\n\r", "hello", "good", ""},
    {"NulInTheData", "5\r\nhe\0lo\r\n0\r\n\r\n"s, "he\0lo"s, "good", ""},
    {"LineEndsInTheData", "5\r\n\r\n\r\n\r\r\n0\r\n\r\n", "\r\n\r\n\r", "good", ""},
    {"DataThatLooksLikeFraming", "A\r\n0\r\n\r\n5\r\nhe\r\n0\r\n\r\n", "0\r\n\r\n5\r\nhe", "good", ""},
    {"AsLargeAsTheBuffer", "1000\r\n" + BLOCK + "\r\n0\r\n\r\n", BLOCK, "good", ""},
    {"ManySmallChunks", "1\r\na\r\n1\r\nb\r\n2\r\ncd\r\n1\r\ne\r\n0\r\n\r\n", "abcde", "good", ""},
};
INSTANTIATE_TEST_SUITE_P(HTTPChunkedIStream, CompleteBody, testing::ValuesIn(COMPLETE_BODIES), nameOf);

class BrokenBody : public testing::TestWithParam<BodyCase>
{
};

TEST_P(BrokenBody, DeliversWhatCameBeforeAndSetsBadbit)
{
    readInAllWays(
        GetParam().wire,
        [](HTTPChunkedIStream& body, const std::string& data, const std::string& wrappedState, const std::string&)
        {
            EXPECT_EQ(data, GetParam().data);
            EXPECT_EQ(stateOf(body), "EFB");
            EXPECT_EQ(wrappedState, GetParam().wrappedState);
            EXPECT_EQ(inputStateOf(body), BaseStreamBuffer::E_INPUT_FAILED);
            EXPECT_EQ(dynamic_cast<BaseStreamBuffer&>(*body.rdbuf()).inputError(), EBADMSG);
        });
}

const BodyCase MALFORMED_BODIES[] = {
    {"PrefixedSize", "0x5\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"PrefixAlone", "0x\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"SizeOfSeventeenDigits", "00000000000000005\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"PlusSign", "+5\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"MinusSign", "-5\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"MinusZero", "-0\r\nX", "", "F", ""},
    {"SizeThatDoesNotFit", "10000000000000000\r\nhello", "", "F", ""},
    {"LettersAfterTheSize", "5xyz\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"SecondNumber", "5 6\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"GroupedDigits", "5,000\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"Fraction", "5.5\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"BlankBeforeTheSize", " 5\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"EmptyLineBeforeTheSize", "\r\n\r\n5\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"EmptySize", ";ext\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"CrAloneAfterTheSize", "5\rhello\r\n0\r\n\r\n", "", "F", ""},
    {"CrInsideAnExtension", "5;a\rb\r\nhello\r\n0\r\n\r\n", "", "F", ""},
    {"NulInsideAnExtension", "5;a\0b\r\nhello\r\n0\r\n\r\n"s, "", "F", ""},
    {"NulAfterTheSize", "5\0\r\nhello\r\n0\r\n\r\n"s, "", "F", ""},
    {"NoSize", "g\r\nhello", "", "F", ""},
    {"AnotherProtocol", "HTTP", "", "F", ""},
    {"QuotedSize", "\"5\"\r\nhello", "", "F", ""},
    {"NoLineEndAfterTheData", "5\r\nhello0\r\n\r\n", "hello", "F", ""},
    {"SizeRightAfterTheData", "5\r\nhello3\r\nabc\r\n0\r\n\r\n", "hello", "F", ""},
    {"MoreDataThanAnnounced", "5\r\nhelloXYZ\r\n0\r\n\r\n", "hello", "F", ""},
    {"MoreDataThatLooksLikeASize", "5\r\nhelloabc\r\n0\r\n\r\n", "hello", "F", ""},
    {"LessThanTheDataAnnounced", "3\r\nhello\r\n0\r\n\r\n", "hel", "F", ""},
    {"WrongFirstByteOfTheLineEndAfterTheData", "5\r\nhelloX\n3\r\nabc\r\n0\r\n\r\n", "hello", "F", ""},
    {"WrongSecondByteOfTheLineEndAfterTheData", "5\r\nhello\rX3\r\nabc\r\n0\r\n\r\n", "hello", "F", ""},
    {"WrongFirstByteOfTheLineEndAfterASize", "5\r\nhello\r\n3X\nabc\r\n0\r\n\r\n", "hello", "F", ""},
    {"WrongSecondByteOfTheLineEndAfterASize", "5\r\nhello\r\n3\rXabc\r\n0\r\n\r\n", "hello", "F", ""},
    {"BlanksAfterTheData", "5\r\nhello \t \r\n0\r\n\r\n", "hello", "F", ""},
    {"CrAloneAfterTheData", "5\r\nhello\r0\r\n\r\n", "hello", "F", ""},
    {"BadSecondSize", "5\r\nhello\r\nzz\r\n", "hello", "F", ""},
    {"BadThirdSize", "5\r\nhello\r\n3\r\nabc\r\nzz\r\n", "helloabc", "F", ""},
    {"NegativeSecondSize", "5\r\nhello\r\n-1\r\nrest", "hello", "F", ""},
    {"BadSizeAfterAFullBuffer", "1000\r\n" + BLOCK + "\r\nzz", BLOCK, "F", ""},
    {"BadSizeAfterMoreThanABuffer", "1001\r\n" + BLOCK + "y\r\nzz", BLOCK + "y", "F", ""},
    {"NulInsideTheTrailer", "5\r\nhello\r\n0\r\nT: \0\r\n\r\n"s, "hello", "F", ""},
    {"CrInsideTheTrailer", "5\r\nhello\r\n0\r\nT: a\rb\r\n\r\n", "hello", "F", ""},
};
INSTANTIATE_TEST_SUITE_P(Malformed, BrokenBody, testing::ValuesIn(MALFORMED_BODIES), nameOf);

const BodyCase CUT_BODIES[] = {
    {"EmptyInput", "", "", "EF", ""},
    {"InTheFirstSize", "5", "", "EF", ""},
    {"InTheFirstLineEnd", "5\r", "", "EF", ""},
    {"BeforeTheFirstData", "5\r\n", "", "EF", ""},
    {"InTheData", "5\r\nhel", "hel", "EF", ""},
    {"AfterTheData", "5\r\nhello", "hello", "EF", ""},
    {"InTheLineEndAfterTheData", "5\r\nhello\r", "hello", "EF", ""},
    {"BeforeTheSecondSize", "5\r\nhello\r\n", "hello", "EF", ""},
    {"InTheDataOfTheSecondChunk", "5\r\nhello\r\n3\r\nab", "helloab", "EF", ""},
    {"AfterTheDataOfTheSecondChunk", "5\r\nhello\r\n3\r\nabc", "helloabc", "EF", ""},
    {"InALastSizeAlone", "0", "", "EF", ""},
    {"InTheLastSize", "5\r\nhello\r\n0", "hello", "EF", ""},
    {"InTheLineEndOfTheLastSize", "5\r\nhello\r\n0\r", "hello", "EF", ""},
    {"InTheExtensionOfTheLastSize", "5\r\nhello\r\n0;a", "hello", "EF", ""},
    {"AfterAFullBufferAndAChunk", "1000\r\n" + BLOCK + "\r\n5\r\nhello\r\n", BLOCK + "hello", "EF", ""},
    {"AfterAFullBufferInAChunk", "1000\r\n" + BLOCK + "\r\n5\r\nhel", BLOCK + "hel", "EF", ""},
    {"InAHugeChunk", "ffffffff\r\nhello\r\n0\r\n\r\n", "hello\r\n0\r\n\r\n", "EF", ""},
    {"InAChunkBeyond32Bits", "100000005\r\nhello\r\n0\r\n\r\n", "hello\r\n0\r\n\r\n", "EF", ""},
    {"InTheLargestChunk", "FFFFFFFFFFFFFFFF\r\nhello", "hello", "EF", ""},
};
INSTANTIATE_TEST_SUITE_P(Cut, BrokenBody, testing::ValuesIn(CUT_BODIES), nameOf);

int valueOfDigit(char c)
{
    const std::string digits = "0123456789abcdef";
    const std::size_t at = digits.find(static_cast<char>(c >= 'A' && c <= 'F' ? c + ('a' - 'A') : c));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

/// A chunk line may begin with a hexadecimal digit and with nothing else, be it the first line or a later one.
TEST(HTTPChunkedIStream, AChunkLineBeginsWithADigit)
{
    for (int code = 0; code < 256; ++code)
    {
        const char first = static_cast<char>(code);
        const int value = valueOfDigit(first);
        for (const std::string before : {"", "5\r\nhello\r\n"})
        {
            for (const std::string rest : {"", "1"})
            {
                SCOPED_TRACE("byte " + std::to_string(code) + " before '" + rest + "', after '" + before + "'");
                const int size = rest.empty() ? value : 16 * value + 1;
                const std::string data(value < 0 ? 20U : static_cast<std::size_t>(size), 'x');
                const std::string end = size == 0 ? "\r\n" : "\r\n0\r\n\r\n";
                readInAllWays(before + first + rest + "\r\n" + data + end,
                              [&](HTTPChunkedIStream& body, const std::string& read, const std::string& wrappedState,
                                  const std::string&)
                              {
                                  EXPECT_EQ(read, (before.empty() ? "" : "hello") + (value < 0 ? "" : data));
                                  EXPECT_EQ(stateOf(body), value < 0 ? "EFB" : "EF");
                                  EXPECT_EQ(wrappedState, value < 0 ? "F" : "good");
                              });
            }
        }
    }
}

/// Whether a body of one byte with that size line and that trailer is complete.
bool isAccepted(const std::string& sizeLine, const std::string& trailer)
{
    bool accepted = true;
    readInAllWays(sizeLine + "\r\nx\r\n0\r\n" + trailer + "\r\n",
                  [&](HTTPChunkedIStream& body, const std::string& data, const std::string&, const std::string&)
                  {
                      accepted = accepted && !body.bad();
                      EXPECT_EQ(data, accepted || !trailer.empty() ? "x" : "");
                  });
    return accepted;
}

std::string lines(std::size_t count, const std::string& line)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
    {
        all += line;
    }
    return all;
}

TEST(HTTPChunkedIStream, LimitsHaveTheirDocumentedValues)
{
    using OpenWBEM::HTTPChunkDecoder;
    EXPECT_EQ(HTTPChunkDecoder::MAX_SIZE_DIGITS, 16U);
    EXPECT_EQ(HTTPChunkDecoder::MAX_SIZE_LINE_LENGTH, 4096U);
    EXPECT_EQ(HTTPChunkDecoder::MAX_TRAILER_LINES, 64U);
    EXPECT_EQ(HTTPChunkDecoder::MAX_TRAILER_SIZE, 16384U);
}

TEST(HTTPChunkedIStream, DigitsOfASizeAreLimited)
{
    const unsigned limit = OpenWBEM::HTTPChunkDecoder::MAX_SIZE_DIGITS;
    EXPECT_TRUE(isAccepted(std::string(limit - 1, '0') + "1", ""));
    EXPECT_FALSE(isAccepted(std::string(limit, '0') + "1", ""));
}

TEST(HTTPChunkedIStream, TheSizeLineIsLimited)
{
    const std::size_t limit = OpenWBEM::HTTPChunkDecoder::MAX_SIZE_LINE_LENGTH;
    EXPECT_TRUE(isAccepted("1;" + std::string(limit - 2, 'e'), ""));
    EXPECT_FALSE(isAccepted("1;" + std::string(limit - 1, 'e'), ""));
    EXPECT_TRUE(isAccepted("1" + std::string(limit - 1, ' '), ""));
    EXPECT_FALSE(isAccepted("1" + std::string(limit, ' '), ""));
}

TEST(HTTPChunkedIStream, LinesOfTheTrailerAreLimited)
{
    const std::size_t limit = OpenWBEM::HTTPChunkDecoder::MAX_TRAILER_LINES;
    EXPECT_TRUE(isAccepted("1", lines(limit, "T: x\r\n")));
    EXPECT_FALSE(isAccepted("1", lines(limit + 1, "T: x\r\n")));
}

TEST(HTTPChunkedIStream, TheSizeOfTheTrailerIsLimited)
{
    const std::size_t limit = OpenWBEM::HTTPChunkDecoder::MAX_TRAILER_SIZE;
    const std::size_t lineEnds = 4;
    EXPECT_TRUE(isAccepted("1", std::string(limit - lineEnds, 't') + "\r\n"));
    EXPECT_FALSE(isAccepted("1", std::string(limit - lineEnds + 1, 't') + "\r\n"));
}

} // namespace
