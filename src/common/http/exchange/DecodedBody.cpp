#include "exchange/DecodedBody.hpp"

#include "exchange/ExchangeUnit.hpp"

#include "zol/mime/ContentException.hpp"

#include <algorithm>
#include <limits>
#include <new>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr int GZIP_FRAME = 16; // added to the window's size, see inflateInit2
constexpr size_t SNIFFED = 2;  // what tells zlib's frame from none

/// RFC 1950, section 2.2: the method is 8, and the two bytes are a multiple of 31.
bool isZlibFrame(const unsigned char* bytes)
{
    return (bytes[0] & 0xF) == Z_DEFLATED && (bytes[0] * 256 + bytes[1]) % 31 == 0;
}

} // namespace

DecodedBody::DecodedBody(const ReceivedBodyRef& encoded, ECoding coding, std::uint64_t limit)
    : ReceivedBody(encoded->getContentType(), encoded->status(), limit), m_encoded(encoded),
      m_state(encoded->createInitialStreamState()), m_coding(coding), m_block(new unsigned char[BLOCK_SIZE])
{
}

DecodedBody::~DecodedBody()
{
    if (m_started)
    {
        ::inflateEnd(&m_zlib);
    }
}

size_t DecodedBody::getContentLength()
{
    throw MIME::ContentException(ExchangeUnit::SOURCE_UNIT, __LINE__,
                                 "The length of a compressed body is not known before it has been read");
}

size_t DecodedBody::read(char* buffer, size_t room)
{
    m_zlib.next_out = reinterpret_cast<unsigned char*>(buffer);
    m_zlib.avail_out = static_cast<unsigned>(std::min<size_t>(room, std::numeric_limits<unsigned>::max()));
    const unsigned roomGiven = m_zlib.avail_out;
    while (m_zlib.avail_out == roomGiven)
    {
        // zlib may hold output back for which there was no room, so it is asked before more is fetched.
        const bool mayHoldOutput = m_started && !m_memberEnded && m_zlib.avail_in == 0;
        if (m_zlib.avail_in == 0 && !mayHoldOutput && !fetch())
        {
            return 0;
        }
        if (m_memberEnded && !startNextMember())
        {
            return 0;
        }
        const int result = ::inflate(&m_zlib, Z_NO_FLUSH);
        m_memberEnded = result == Z_STREAM_END;
        if (result == Z_MEM_ERROR)
        {
            throw std::bad_alloc();
        }
        if (result == Z_BUF_ERROR && m_zlib.avail_in == 0)
        {
            if (!fetch())
            {
                return 0;
            }
        }
        else if (result != Z_OK && !m_memberEnded)
        {
            // What was decoded in front of the error goes first; zlib says the same again when it is asked next.
            if (m_zlib.avail_out < roomGiven)
            {
                break;
            }
            finishMalformed(m_zlib.msg != nullptr ? m_zlib.msg : "it cannot be decoded");
            return 0;
        }
    }
    return roomGiven - m_zlib.avail_out;
}

/// Gives zlib more of the encoded body. @return false at its end
bool DecodedBody::fetch()
{
    for (;;)
    {
        const size_t count =
            m_encoded->getData(reinterpret_cast<char*>(m_block.get()) + m_held, BLOCK_SIZE - m_held, m_state);
        if (count == MIME::END_OF_DATA)
        {
            finishEncoded();
            return false;
        }
        m_held += count;
        if (m_held >= (m_started ? 1 : SNIFFED))
        {
            break;
        }
    }
    if (!m_started && !start())
    {
        return false;
    }
    m_zlib.next_in = m_block.get();
    m_zlib.avail_in = static_cast<unsigned>(m_held);
    m_held = 0;
    return true;
}

bool DecodedBody::start()
{
    const int result = ::inflateInit2(&m_zlib, windowBits());
    if (result == Z_MEM_ERROR)
    {
        throw std::bad_alloc();
    }
    m_started = result == Z_OK;
    if (!m_started)
    {
        finish(ExchangeResponse::E_FAILED, "zlib cannot be used");
    }
    return m_started;
}

int DecodedBody::windowBits() const
{
    if (m_coding == E_GZIP)
    {
        return MAX_WBITS + GZIP_FRAME;
    }
    return isZlibFrame(m_block.get()) ? MAX_WBITS : -MAX_WBITS;
}

/// Behind the end of the compressed data only another member of gzip may come.
bool DecodedBody::startNextMember()
{
    if (m_coding != E_GZIP)
    {
        finishMalformed("there are bytes behind its end");
        return false;
    }
    ::inflateReset(&m_zlib);
    m_memberEnded = false;
    return true;
}

void DecodedBody::finishEncoded()
{
    if (m_encoded->end() != ExchangeResponse::E_COMPLETE)
    {
        finishAs(*m_encoded);
    }
    else if (m_memberEnded || (!m_started && m_held == 0))
    {
        finish(ExchangeResponse::E_COMPLETE);
    }
    else
    {
        finish(ExchangeResponse::E_CUT, "The compressed data of the body ended before its end");
    }
}

void DecodedBody::finishMalformed(const char* reason)
{
    finish(ExchangeResponse::E_MALFORMED, blocxx::Format("The compressed data of the body is malformed: %1", reason));
}

} // namespace ZOLNS2::HTTP
