#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include "blocxx/internal/DirectInput.hpp"
#include "blocxx/internal/ForcedUnwind.hpp"
#include "blocxx/internal/GetArea.hpp"
#include "blocxx/internal/StreamFailure.hpp"
#include "openwbem/internal/EqualChunks.hpp"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

namespace OpenWBEM
{

namespace
{

using Traits = std::streambuf::traits_type;
using blocxx::Internal::DirectInput;
using blocxx::Internal::FailureReason;
using blocxx::Internal::GetArea;

using Internal::EqualChunks;

} // namespace

HTTPChunkedIStreamBuffer::HTTPChunkedIStreamBuffer(std::istream& istr)
    : BaseStreamBuffer(E_IN, blocxx::HTTP_BUF_SIZE, E_NEGATIVE_FAILS), m_istr(istr), m_source(nullptr),
      m_deviceBuffer(nullptr), m_error(0)
{
}

HTTPChunkedIStreamBuffer::~HTTPChunkedIStreamBuffer() = default;

void HTTPChunkedIStreamBuffer::resetInput()
{
    initBuffers();
    m_decoder = HTTPChunkDecoder();
    m_source = nullptr;
    m_deviceBuffer = nullptr;
    m_error = 0;
    m_errorText.erase();
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
    // When the body is over, the base class is told how it ended.
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

blocxx::String HTTPChunkedIStreamBuffer::deviceErrorText() const
{
    return m_errorText;
}

std::size_t HTTPChunkedIStreamBuffer::decode(char* to, std::size_t size, EWait wait)
{
    // Data that is stored when the wrapped buffer throws has to be counted, so the steps count in here.
    Room room{to, to + size};
    const bool straight = wait == E_FOR_ALL && size >= EqualChunks::LARGE_CHUNK_SIZE;
    blocxx::Internal::catchAllButUnwind(
        [&]
        {
            begin();
            while (!m_decoder.isOver() && room.next != room.end && (room.next == to || wait == E_FOR_ALL))
            {
                decodeStep(room, straight);
            }
        },
        [&]
        {
            FailureReason reason = blocxx::Internal::reasonOfCaughtException();
            endInput(std::ios_base::badbit, reason.error, std::move(reason.text));
        });
    if (m_decoder.isBroken() && m_error == 0)
    {
        m_error = EBADMSG;
        blocxx::Internal::setStateQuietly(m_istr, std::ios_base::failbit);
    }
    return static_cast<std::size_t>(room.next - to);
}

void HTTPChunkedIStreamBuffer::begin()
{
    if (m_source != nullptr)
    {
        return;
    }
    m_source = m_istr.rdbuf();
    m_deviceBuffer = dynamic_cast<BaseStreamBuffer*>(m_source);
    if (m_istr.fail())
    {
        m_decoder.fail();
        m_error = EIO;
    }
}

/// Decodes what the wrapped buffer holds. If it holds nothing, waits for what comes next.
void HTTPChunkedIStreamBuffer::decodeStep(Room& room, bool straight)
{
    if (GetArea::of(*m_source).empty() && !fetch(room, straight))
    {
        return;
    }
    const std::string_view held = GetArea::of(*m_source);
    if (held.empty())
    {
        decodeByte(room);
        return;
    }
    const HTTPChunkDecoder::Progress progress =
        m_decoder.decode(held.data(), held.data() + held.size(), room.next, room.end);
    GetArea::consume(*m_source, static_cast<std::size_t>(progress.from - held.data()));
    room.next = progress.to;
}

/// Waits for one read of the wrapped buffer's device, which the data of a large chunk does past the buffer.
/// @return whether there is something to decode
bool HTTPChunkedIStreamBuffer::fetch(Room& room, bool straight)
{
    // After one large chunk, another is likely.
    const DirectInput direct(m_source);
    const bool large = straight && m_decoder.chunkSize() >= EqualChunks::LARGE_CHUNK_SIZE && direct;
    if (large && m_decoder.dataLeft() > 0)
    {
        fetchData(room, direct);
        return !GetArea::of(*m_source).empty();
    }
    const bool filled = large ? direct.fillGetArea(EqualChunks::FRAMING_READ_SIZE)
                              : !Traits::eq_int_type(m_source->sgetc(), Traits::eof());
    if (!filled)
    {
        noteEndOfInput();
    }
    return filled;
}

/// Decodes one byte of a buffer that keeps nothing in its get area. More at a time could be lost if it throws.
void HTTPChunkedIStreamBuffer::decodeByte(Room& room)
{
    const Traits::int_type read = m_source->sbumpc();
    if (Traits::eq_int_type(read, Traits::eof()))
    {
        noteEndOfInput();
        return;
    }
    const char byte = Traits::to_char_type(read);
    room.next = m_decoder.decode(&byte, &byte + 1, room.next, room.end).to;
}

/// Reads data of a large chunk, and perhaps of others behind it, into the room.
void HTTPChunkedIStreamBuffer::fetchData(Room& room, const DirectInput& direct)
{
    const std::size_t count = EqualChunks::read(direct, m_decoder, room.next, room.size());
    if (count == 0)
    {
        noteEndOfInput();
    }
    room.next += count;
}

void HTTPChunkedIStreamBuffer::noteEndOfInput()
{
    constexpr std::ios_base::iostate ENDED = std::ios_base::eofbit | std::ios_base::failbit;
    if (m_deviceBuffer != nullptr && m_deviceBuffer->inputState() == E_INPUT_FAILED)
    {
        endInput(ENDED | std::ios_base::badbit, m_deviceBuffer->inputError(), m_deviceBuffer->inputErrorText());
    }
    else
    {
        endInput(ENDED, EBADMSG, blocxx::String());
    }
}

void HTTPChunkedIStreamBuffer::endInput(std::ios_base::iostate bits, int error, blocxx::String text)
{
    m_decoder.endInput();
    if (m_decoder.isBroken())
    {
        m_error = error;
        m_errorText.swap(text);
        // This stream is the one being read, so its own mask decides what is thrown.
        blocxx::Internal::setStateQuietly(m_istr, bits);
    }
}

HTTPChunkedIStream::HTTPChunkedIStream(std::istream& istr) : HTTPChunkedIStreamBase(istr), std::istream(&m_buffer)
{
    m_buffer.reportErrorsTo(this);
}

HTTPChunkedIStream::~HTTPChunkedIStream() = default;

} // namespace OpenWBEM
