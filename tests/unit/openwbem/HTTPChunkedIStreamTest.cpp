#include "ChunkedReading.hpp"
#include "PiecewiseInput.hpp"

#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <istream>
#include <iterator>
#include <sstream>
#include <string>

namespace
{

using blocxx::BaseStreamBuffer;
using OpenWBEM::HTTPChunkedIStream;
using OpenWBEM::HTTPChunkedIStreamBuffer;
using zol_test::inputStateOf;
using zol_test::PiecewiseInput;
using zol_test::readBlock;
using zol_test::readInAllWays;
using zol_test::stateOf;

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

} // namespace
