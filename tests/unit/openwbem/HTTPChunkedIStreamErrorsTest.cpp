// What happens to a body when its input fails, throws or is cancelled.

#include "ChunkedReading.hpp"
#include "support/Cancellation.hpp"

#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <istream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>

namespace
{

using blocxx::BaseStreamBuffer;
using OpenWBEM::HTTPChunkedIStream;
using OpenWBEM::HTTPChunkedIStreamBuffer;
using zol_test::inputStateOf;
using zol_test::PiecewiseInput;
using zol_test::readBlock;
using zol_test::stateOf;

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

/// A buffer without a get area: each byte arrives alone, although more are announced.
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
