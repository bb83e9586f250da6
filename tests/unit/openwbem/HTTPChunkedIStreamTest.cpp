#include "PiecewiseInput.hpp"
#include "support/Cancellation.hpp"

#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <istream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

namespace
{

using namespace std::string_literals;

using blocxx::BaseStreamBuffer;
using OpenWBEM::HTTPChunkedIStream;
using OpenWBEM::HTTPChunkedIStreamBuffer;
using zol_test::PiecewiseInput;
using zol_test::stateOf;

std::string readBlock(std::istream& stream, std::size_t size)
{
    std::string block(size, '\0');
    stream.read(block.data(), static_cast<std::streamsize>(size));
    block.resize(static_cast<std::size_t>(stream.gcount()));
    return block;
}

/// Reads to the end, one byte at a time.
std::string readBytes(std::istream& stream)
{
    std::string bytes;
    for (int c = stream.get(); c != std::char_traits<char>::eof(); c = stream.get())
    {
        bytes += static_cast<char>(c);
    }
    return bytes;
}

BaseStreamBuffer::EInputState inputStateOf(HTTPChunkedIStream& stream)
{
    return dynamic_cast<BaseStreamBuffer&>(*stream.rdbuf()).inputState();
}

enum EBlocks
{
    E_ONE_BLOCK = 1 << 20,
    E_BLOCKS_OF_3 = 3,
    E_SINGLE_BYTES = 0
};

std::string readAll(HTTPChunkedIStream& body, EBlocks blocks)
{
    if (blocks == E_SINGLE_BYTES)
    {
        return readBytes(body);
    }
    std::string all;
    while (body)
    {
        all += readBlock(body, blocks);
    }
    return all;
}

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

struct Way
{
    EBlocks blocks;
    std::size_t pieceSize; // 0: a string stream
};

const Way WAYS[] = {{E_ONE_BLOCK, 0},    {E_ONE_BLOCK, 65536},    {E_ONE_BLOCK, 1},    {E_ONE_BLOCK, 7},
                    {E_BLOCKS_OF_3, 0},  {E_BLOCKS_OF_3, 65536},  {E_BLOCKS_OF_3, 1},  {E_BLOCKS_OF_3, 5},
                    {E_SINGLE_BYTES, 0}, {E_SINGLE_BYTES, 65536}, {E_SINGLE_BYTES, 1}, {E_SINGLE_BYTES, 5}};

/// Reads a body in all ways; `check` gets the stream, the data read and what is left on the wire.
template <typename Check>
void readInAllWays(const std::string& wire, Check check)
{
    for (const Way& way : WAYS)
    {
        SCOPED_TRACE("blocks " + std::to_string(way.blocks) + ", pieces " + std::to_string(way.pieceSize));
        if (way.pieceSize == 0)
        {
            std::istringstream wrapped(wire);
            HTTPChunkedIStream body(wrapped);
            const std::string data = readAll(body, way.blocks);
            const std::string wrappedState = stateOf(wrapped);
            wrapped.clear();
            check(body, data, wrappedState, std::string(std::istreambuf_iterator<char>(wrapped), {}));
        }
        else
        {
            PiecewiseInput buffer(wire, way.pieceSize);
            std::istream wrapped(&buffer);
            HTTPChunkedIStream body(wrapped);
            const std::string data = readAll(body, way.blocks);
            check(body, data, stateOf(wrapped), buffer.left());
        }
    }
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

TEST(HTTPChunkedIStream, ReadsNothingWhenItIsMade)
{
    PiecewiseInput buffer("5\r\nhello\r\n0\r\n\r\n");
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(buffer.reads(), 0);
    EXPECT_EQ(&body.getInputStreamOrig(), &wrapped);
}

TEST(HTTPChunkedIStream, TheLastChunkIsReadOnlyWhenMoreThanTheDataIsAsked)
{
    PiecewiseInput buffer("5\r\nhello\r\n0\r\n\r\nN");
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 5), "hello");
    EXPECT_EQ(stateOf(body), "good");
    EXPECT_EQ(buffer.left(), "\r\n0\r\n\r\nN");
    EXPECT_EQ(readBlock(body, 1), "");
    EXPECT_EQ(stateOf(body), "EF");
    EXPECT_EQ(buffer.left(), "N");
}

TEST(HTTPChunkedIStream, TheTrailerIsNotReadWithTheData)
{
    PiecewiseInput buffer("5\r\nhello\r\n0\r\nT: x\r\n\r\nN");
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(body.get(), 'h');
    EXPECT_EQ(buffer.left(), "T: x\r\n\r\nN");
}

TEST(HTTPChunkedIStream, AnErrorShowsOnlyAfterTheData)
{
    std::istringstream wrapped("5\r\nhello\r\nzz\r\n");
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 4), "hell");
    EXPECT_EQ(readBlock(body, 1), "o");
    EXPECT_EQ(stateOf(body), "good");
    EXPECT_EQ(readBlock(body, 1), "");
    EXPECT_EQ(stateOf(body), "EFB");
}

TEST(HTTPChunkedIStream, WhatHasArrivedIsNotHeldBack)
{
    PiecewiseInput buffer("5\r\nhello\r\n5\r\nworld\r\n0\r\n\r\n", 10);
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(body.get(), 'h');
    EXPECT_EQ(buffer.reads(), 1);
    EXPECT_EQ(readBlock(body, 4), "ello");
    EXPECT_EQ(buffer.reads(), 1);
}

TEST(HTTPChunkedIStream, ALineEndsWithoutFailbit)
{
    std::istringstream wrapped("5\r\nhello\r\n0\r\n\r\n");
    HTTPChunkedIStream body(wrapped);
    std::string line;
    std::getline(body, line);
    EXPECT_EQ(line, "hello");
    EXPECT_EQ(stateOf(body), "E");
}

TEST(HTTPChunkedIStream, StreamBufferIteratorsLeaveTheStateAlone)
{
    std::istringstream wrapped("5\r\nhello\r\n0\r\n\r\n");
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(body), {}), "hello");
    EXPECT_EQ(stateOf(body), "good");
    EXPECT_EQ(inputStateOf(body), BaseStreamBuffer::E_INPUT_ENDED);
}

TEST(HTTPChunkedIStream, BytesAndBlocksMayBeMixed)
{
    std::istringstream wrapped("5\r\nhello\r\n6\r\n world\r\n0\r\n\r\n");
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(body.get(), 'h');
    EXPECT_EQ(body.peek(), 'e');
    EXPECT_EQ(readBlock(body, 7), "ello wo");
    EXPECT_EQ(body.get(), 'r');
    EXPECT_EQ(readBlock(body, 100), "ld");
    EXPECT_EQ(stateOf(body), "EF");
}

TEST(HTTPChunkedIStream, BytesThatWentPastTheBufferCannotBePutBackWrongly)
{
    PiecewiseInput buffer("5\r\nhello\r\n6\r\n world\r\n0\r\n\r\n", 10);
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(body.get(), 'h');
    EXPECT_EQ(readBlock(body, 7), "ello wo");
    EXPECT_FALSE(body.unget());
}

TEST(HTTPChunkedIStream, LargeDataGoesThroughWhole)
{
    std::string data;
    for (std::size_t i = 0; i < 300000; ++i)
    {
        data += static_cast<char>(i * 31 % 251);
    }
    std::ostringstream wire;
    wire << std::hex << data.size() << "\r\n" << data << "\r\n" << data.size() << "\r\n" << data << "\r\n0\r\n\r\nN";
    readInAllWays(wire.str(),
                  [&](HTTPChunkedIStream& body, const std::string& read, const std::string&, const std::string& left)
                  {
                      EXPECT_TRUE(read == data + data);
                      EXPECT_EQ(stateOf(body), "EF");
                      EXPECT_EQ(left, "N");
                  });
}

TEST(HTTPChunkedIStream, LargeDataThatIsCutIsDeliveredFirst)
{
    const std::string data(100000, 'd');
    PiecewiseInput buffer("30d40\r\n" + data, 60000);
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_TRUE(readBlock(body, 200000) == data);
    EXPECT_EQ(stateOf(body), "EFB");
}

TEST(HTTPChunkedIStreamBuffer, ResetGetsReadyForTheNextBody)
{
    std::istringstream wrapped("5\r\nhello\r\n0\r\n\r\n3\r\nabc\r\n0\r\n\r\nN");
    HTTPChunkedIStreamBuffer buffer(wrapped);
    std::istream body(&buffer);
    EXPECT_EQ(readBlock(body, 100), "hello");
    buffer.resetInput();
    body.clear();
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_OPEN);
    EXPECT_EQ(readBlock(body, 100), "abc");
    EXPECT_EQ(stateOf(body), "EF");
    EXPECT_EQ(stateOf(wrapped), "good");
}

TEST(HTTPChunkedIStreamBuffer, ResetDropsWhatWasNotRead)
{
    std::istringstream wrapped("5\r\nhello\r\n0\r\n\r\n3\r\nabc\r\n0\r\n\r\nN");
    HTTPChunkedIStreamBuffer buffer(wrapped);
    std::istream body(&buffer);
    EXPECT_EQ(body.get(), 'h');
    wrapped.str("3\r\nabc\r\n0\r\n\r\n");
    buffer.resetInput();
    EXPECT_EQ(readBlock(body, 100), "abc");
}

TEST(HTTPChunkedIStreamBuffer, ResetForgetsAnError)
{
    PiecewiseInput device("zz\r\n3\r\nabc\r\n0\r\n\r\n");
    std::istream wrapped(&device);
    HTTPChunkedIStreamBuffer buffer(wrapped);
    std::istream body(&buffer);
    EXPECT_EQ(readBlock(body, 100), "");
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
    wrapped.clear();
    wrapped.ignore(3);
    buffer.resetInput();
    body.clear();
    EXPECT_EQ(readBlock(body, 100), "abc");
    EXPECT_EQ(buffer.inputError(), 0);
    EXPECT_EQ(stateOf(body), "EF");
}

TEST(HTTPChunkedIStream, AStreamThatHadFailedIsNotComplete)
{
    std::istringstream wrapped("0\r\n\r\n");
    wrapped.setstate(std::ios_base::failbit);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 100), "");
    EXPECT_EQ(stateOf(body), "EFB");
    EXPECT_EQ(inputStateOf(body), BaseStreamBuffer::E_INPUT_FAILED);
    EXPECT_EQ(stateOf(wrapped), "F");
    wrapped.clear();
    EXPECT_EQ(wrapped.get(), '0');
}

TEST(HTTPChunkedIStream, EofbitOfTheWrappedStreamDoesNotPreventReading)
{
    std::istringstream wrapped("5\r\nhello\r\n0\r\n\r\n");
    wrapped.setstate(std::ios_base::eofbit);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 100), "hello");
    EXPECT_EQ(stateOf(body), "EF");
}

TEST(HTTPChunkedIStream, TheWrappedStreamsFormatIsNeitherUsedNorChanged)
{
    std::istringstream wrapped("a\r\n0123456789\r\n0\r\n\r\n");
    wrapped.unsetf(std::ios_base::skipws);
    wrapped.setf(std::ios_base::oct, std::ios_base::basefield);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 100), "0123456789");
    EXPECT_EQ(wrapped.flags() & std::ios_base::basefield, std::ios_base::oct);
}

TEST(HTTPChunkedIStream, SyncHasNothingToDo)
{
    std::istringstream wrapped("5\r\nhello\r\n0\r\n\r\n");
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(body.sync(), 0);
    EXPECT_EQ(readBlock(body, 100), "hello");
}

TEST(HTTPChunkedIStream, AnErrorOfTheInputIsPassedOn)
{
    PiecewiseInput buffer("5\r\nhello\r\n", 65536, PiecewiseInput::E_ERROR);
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 100), "hello");
    EXPECT_EQ(stateOf(body), "EFB");
    EXPECT_EQ(stateOf(wrapped), "EFB");
    EXPECT_EQ(dynamic_cast<BaseStreamBuffer&>(*body.rdbuf()).inputError(), ECONNRESET);
}

TEST(HTTPChunkedIStream, AnErrorInsideTheTrailerDoesNoHarm)
{
    for (const PiecewiseInput::EEnd end : {PiecewiseInput::E_ERROR, PiecewiseInput::E_THROW})
    {
        PiecewiseInput buffer("5\r\nhello\r\n0\r\nT", 65536, end);
        std::istream wrapped(&buffer);
        HTTPChunkedIStream body(wrapped);
        EXPECT_EQ(readBlock(body, 100), "hello");
        EXPECT_EQ(stateOf(body), "EF");
        EXPECT_EQ(inputStateOf(body), BaseStreamBuffer::E_INPUT_ENDED);
    }
}

TEST(HTTPChunkedIStream, ABufferThatThrowsLosesNothingBefore)
{
    for (const std::size_t pieceSize : {std::size_t{1}, std::size_t{65536}})
    {
        PiecewiseInput buffer("5\r\nhello\r\n3\r\na", pieceSize, PiecewiseInput::E_THROW);
        std::istream wrapped(&buffer);
        HTTPChunkedIStream body(wrapped);
        EXPECT_EQ(readBlock(body, 100), "helloa");
        EXPECT_EQ(stateOf(body), "EFB");
        EXPECT_EQ(stateOf(wrapped), "B");
        const auto& ended = dynamic_cast<BaseStreamBuffer&>(*body.rdbuf());
        EXPECT_EQ(ended.inputError(), EIO);
        EXPECT_EQ(ended.inputErrorText(), "the device broke");
    }
}

TEST(HTTPChunkedIStream, TheTextOfAnErrorIsPassedOn)
{
    class Device : public PiecewiseInput
    {
        using PiecewiseInput::PiecewiseInput;
        blocxx::String deviceErrorText() const override { return "unknown authority"; }
    };
    Device buffer("5\r\nhello\r\n", 65536, PiecewiseInput::E_ERROR);
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 100), "hello");
    EXPECT_EQ(dynamic_cast<BaseStreamBuffer&>(*body.rdbuf()).inputErrorText(), "unknown authority");
}

TEST(HTTPChunkedIStream, AMalformedBodyHasNoText)
{
    std::istringstream wrapped("zz\r\n");
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 100), "");
    EXPECT_EQ(dynamic_cast<BaseStreamBuffer&>(*body.rdbuf()).inputErrorText(), "");
}

TEST(HTTPChunkedIStream, TheMasksOfBothStreamsAreTheirOwn)
{
    std::istringstream wrapped("5\r\nhello\r\nzz");
    wrapped.exceptions(std::ios_base::failbit);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 100), "hello");
    EXPECT_EQ(stateOf(body), "EFB");
    EXPECT_EQ(stateOf(wrapped), "F");
}

/// A buffer of its own kind, without a get area: each byte comes alone, although more are announced.
class UnbufferedText : public std::streambuf
{
public:
    enum EEnd
    {
        E_ORDERLY,
        E_THROW,
        E_CANCEL
    };

    explicit UnbufferedText(std::string text, EEnd end = E_ORDERLY) : m_text(std::move(text)), m_end(end) {}

private:
    std::streamsize showmanyc() override { return 1000; }
    int_type underflow() override
    {
        if (m_next == m_text.size() && m_end == E_THROW)
        {
            throw std::runtime_error("the buffer broke");
        }
        if (m_next == m_text.size() && m_end == E_CANCEL)
        {
            zol_test::beCancelled();
        }
        return m_next < m_text.size() ? traits_type::to_int_type(m_text[m_next]) : traits_type::eof();
    }
    int_type uflow() override
    {
        const int_type c = underflow();
        m_next += c == traits_type::eof() ? 0 : 1;
        return c;
    }

    const std::string m_text;
    const EEnd m_end;
    std::size_t m_next = 0;
};

TEST(HTTPChunkedIStream, ReadsFromABufferWithoutAGetArea)
{
    UnbufferedText buffer("5\r\nhello\r\n3\r\nabc\r\n0\r\n\r\n");
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readBlock(body, 100), "helloabc");
    EXPECT_EQ(stateOf(body), "EF");
}

TEST(HTTPChunkedIStream, ABufferWithoutAGetAreaThatThrowsLosesNothingBefore)
{
    for (const std::string wire : {"5\r\nhello\r\n3\r\nab", "5\r\nhello\r\n2\r\nab", "5\r\nhello\r\n2\r\nab\r\n1"})
    {
        UnbufferedText buffer(wire, UnbufferedText::E_THROW);
        std::istream wrapped(&buffer);
        HTTPChunkedIStream body(wrapped);
        EXPECT_EQ(readBlock(body, 100), "helloab");
        EXPECT_EQ(stateOf(body), "EFB");
        EXPECT_EQ(stateOf(wrapped), "B");
        EXPECT_EQ(dynamic_cast<BaseStreamBuffer&>(*body.rdbuf()).inputErrorText(), "the buffer broke");
    }
}

TEST(HTTPChunkedIStreamBuffer, ResetForgetsTheTextOfAnError)
{
    UnbufferedText broken("5\r\n", UnbufferedText::E_THROW);
    std::istream wrapped(&broken);
    HTTPChunkedIStreamBuffer buffer(wrapped);
    EXPECT_EQ(buffer.sgetc(), -1);
    EXPECT_EQ(buffer.inputErrorText(), "the buffer broke");
    std::stringbuf malformed("zz");
    wrapped.rdbuf(&malformed);
    buffer.resetInput();
    EXPECT_EQ(buffer.sgetc(), -1);
    EXPECT_EQ(buffer.inputError(), EBADMSG);
    EXPECT_EQ(buffer.inputErrorText(), "");
}

TEST(HTTPChunkedIStream, ACancelledThreadIsNotHeldUp)
{
    for (const std::size_t wanted : {std::size_t{1}, std::size_t{100}})
    {
        UnbufferedText buffer("5\r\n", UnbufferedText::E_CANCEL);
        std::istream wrapped(&buffer);
        HTTPChunkedIStream body(wrapped);
        EXPECT_TRUE(zol_test::endsCancelled([&] { readBlock(body, wanted); }));
        EXPECT_TRUE(body.bad());
    }
}

} // namespace
