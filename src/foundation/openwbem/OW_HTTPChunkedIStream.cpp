#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <cxxabi.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace OpenWBEM
{

namespace
{

using Traits = std::streambuf::traits_type;

// The data of chunks of at least this size goes past the wrapped buffer, if the reader has asked for as much.
constexpr std::size_t LARGE_CHUNK_SIZE = 8192;

// What is read for the framing between two of them, a line end and a size line without an extension: more would take
// data into the buffer that could go past it.
constexpr std::size_t FRAMING_READ_SIZE = 32;

} // namespace

HTTPChunkedIStreamBuffer::HTTPChunkedIStreamBuffer(std::istream& istr)
    : BaseStreamBuffer(E_IN, blocxx::HTTP_BUF_SIZE, E_NEGATIVE_FAILS), m_istr(istr), m_source(nullptr),
      m_windowSource(nullptr), m_error(0)
{
}

HTTPChunkedIStreamBuffer::~HTTPChunkedIStreamBuffer() = default;

void HTTPChunkedIStreamBuffer::resetInput()
{
    initBuffers();
    m_decoder = HTTPChunkDecoder();
    m_source = nullptr;
    m_windowSource = nullptr;
    m_error = 0;
}

std::streamsize HTTPChunkedIStreamBuffer::xsgetn(char* to, std::streamsize count)
{
    std::streamsize got = std::min<std::streamsize>(count, egptr() - gptr());
    if (got > 0)
    {
        got = BaseStreamBuffer::xsgetn(to, got);
    }
    if (got < count)
    {
        // The bytes go past the buffer, so what it last held can no longer be put back.
        setg(nullptr, nullptr, nullptr);
        got += static_cast<std::streamsize>(decode(to + got, static_cast<std::size_t>(count - got), E_FOR_ALL));
    }
    // Where the body is over, the base class learns how it ended.
    return got < count ? got + BaseStreamBuffer::xsgetn(to + got, count - got) : got;
}

int HTTPChunkedIStreamBuffer::buffer_from_device(char* c, int n)
{
    const std::size_t got = decode(c, static_cast<std::size_t>(n), E_FOR_SOME);
    if (got == 0 && m_decoder.isBroken())
    {
        errno = m_error;
        return -1;
    }
    return static_cast<int>(got);
}

std::size_t HTTPChunkedIStreamBuffer::decode(char* to, std::size_t room, EWait wait)
{
    const bool straight = wait == E_FOR_ALL && room >= LARGE_CHUNK_SIZE;
    std::size_t got = 0;
    try
    {
        if (m_source == nullptr)
        {
            begin();
        }
        while (m_source != nullptr && !m_decoder.isOver() && got < room && (got == 0 || wait == E_FOR_ALL))
        {
            got += m_windowSource != nullptr ? decodeBuffered(to + got, room - got, straight)
                                             : decodeForeign(to + got, room - got);
        }
    }
    catch (const abi::__forced_unwind&)
    {
        throw;
    }
    catch (...)
    {
        endInput(std::ios_base::badbit, EIO);
    }
    if (m_decoder.isBroken() && m_error == 0)
    {
        m_error = EBADMSG;
        markWrapped(std::ios_base::failbit);
    }
    return got;
}

void HTTPChunkedIStreamBuffer::begin()
{
    m_source = m_istr.rdbuf();
    m_windowSource = dynamic_cast<BaseStreamBuffer*>(m_source);
    if (m_istr.fail())
    {
        m_decoder.breakOff();
        m_error = EIO;
    }
}

/// Decodes what the wrapped buffer holds. If it holds nothing, waits for one read of its device, which the data of a
/// large chunk does past the buffer.
std::size_t HTTPChunkedIStreamBuffer::decodeBuffered(char* to, std::size_t room, bool straight)
{
    std::size_t got = 0;
    if (m_windowSource->window().size == 0)
    {
        // Behind one large chunk, another is likely.
        const bool large = straight && m_decoder.chunkSize() >= LARGE_CHUNK_SIZE;
        if (large && m_decoder.dataLeft() > 0)
        {
            got = readPast(to, room);
        }
        else if (!m_windowSource->fillWindow(large ? FRAMING_READ_SIZE : std::size_t(-1)))
        {
            noteEndOfInput();
        }
    }
    const Window window = m_windowSource->window();
    if (window.size == 0)
    {
        return got;
    }
    const HTTPChunkDecoder::Progress progress =
        m_decoder.decode(window.data, window.data + window.size, to + got, to + room);
    m_windowSource->consume(static_cast<std::size_t>(progress.from - window.data));
    return static_cast<std::size_t>(progress.to - to);
}

/// Reads data straight into the reader's memory. If that has room, the framing behind the data comes along.
std::size_t HTTPChunkedIStreamBuffer::readPast(char* to, std::size_t room)
{
    const std::size_t run = std::min<std::uint64_t>(m_decoder.dataLeft(), room);
    const std::size_t got = m_windowSource->readPast(to, run, std::min(room - run, FRAMING_READ_SIZE));
    m_decoder.takeData(got);
    if (got == 0)
    {
        noteEndOfInput();
    }
    return got;
}

/// Decodes from a buffer of unknown kind: waits for one byte, then takes what came with it.
std::size_t HTTPChunkedIStreamBuffer::decodeForeign(char* to, std::size_t room)
{
    std::size_t got = 0;
    do
    {
        if (m_decoder.dataLeft() == 0)
        {
            decodeFramingByte(to);
            continue;
        }
        const auto atHand = static_cast<std::uint64_t>(std::max<std::streamsize>(m_source->in_avail(), 1));
        got += readData(to + got, std::min({m_decoder.dataLeft(), atHand, std::uint64_t{room - got}}));
    } while (!m_decoder.isOver() && got < room && m_source->in_avail() > 0 && !(got > 0 && m_decoder.isInTrailer()));
    return got;
}

void HTTPChunkedIStreamBuffer::decodeFramingByte(char* room)
{
    const Traits::int_type read = m_source->sbumpc();
    if (Traits::eq_int_type(read, Traits::eof()))
    {
        noteEndOfInput();
        return;
    }
    const char byte = Traits::to_char_type(read);
    m_decoder.decode(&byte, &byte + 1, room, room + 1);
}

std::size_t HTTPChunkedIStreamBuffer::readData(char* to, std::uint64_t count)
{
    const std::streamsize got = m_source->sgetn(to, static_cast<std::streamsize>(count));
    m_decoder.takeData(static_cast<std::uint64_t>(got));
    if (static_cast<std::uint64_t>(got) < count)
    {
        noteEndOfInput();
    }
    return static_cast<std::size_t>(got);
}

void HTTPChunkedIStreamBuffer::noteEndOfInput()
{
    constexpr std::ios_base::iostate ENDED = std::ios_base::eofbit | std::ios_base::failbit;
    if (m_windowSource != nullptr && m_windowSource->inputState() == E_INPUT_FAILED)
    {
        endInput(ENDED | std::ios_base::badbit, m_windowSource->inputError());
    }
    else
    {
        endInput(ENDED, EBADMSG);
    }
}

void HTTPChunkedIStreamBuffer::endInput(std::ios_base::iostate state, int error)
{
    m_decoder.endInput();
    if (m_decoder.isBroken())
    {
        m_error = error;
        markWrapped(state);
    }
}

void HTTPChunkedIStreamBuffer::markWrapped(std::ios_base::iostate state)
{
    try
    {
        m_istr.setstate(state);
    }
    catch (const std::ios_base::failure&) // NOLINT(bugprone-empty-catch)
    {
        // The bits are set. It is this stream that is being read, and its own mask that says what is thrown.
    }
}

HTTPChunkedIStream::HTTPChunkedIStream(std::istream& istr) : HTTPChunkedIStreamBase(istr), std::istream(&m_buffer)
{
    m_buffer.reportErrorsTo(this);
}

HTTPChunkedIStream::~HTTPChunkedIStream() = default;

void HTTPChunkedIStream::resetInput()
{
    m_buffer.resetInput();
    clear();
}

} // namespace OpenWBEM
