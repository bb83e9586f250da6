#include "exchange/FramedBody.hpp"

#include "exchange/ExchangeUnit.hpp"
#include "exchange/HeadFields.hpp"

#include "openwbem/internal/EqualChunks.hpp"

#include <algorithm>

namespace ZOLNS2::HTTP
{

namespace
{

using OpenWBEM::Internal::EqualChunks;

ExchangeResponse::EBodyEnd endOf(ExchangeException::ECause cause)
{
    switch (cause)
    {
    case ExchangeException::E_CUT:
        return ExchangeResponse::E_CUT;
    case ExchangeException::E_TIMED_OUT:
        return ExchangeResponse::E_TIMED_OUT;
    case ExchangeException::E_DEADLINE:
        return ExchangeResponse::E_DEADLINE;
    case ExchangeException::E_RESET:
        return ExchangeResponse::E_RESET;
    case ExchangeException::E_CANCELLED:
        return ExchangeResponse::E_CANCELLED;
    default:
        return ExchangeResponse::E_FAILED;
    }
}

} // namespace

FramedBody::FramedBody(const ExchangeLinkRef& link, const ExchangeGuard& guard, const BodyFraming& framing,
                       const MIME::ContentTypeHeader& contentType, unsigned short status, std::uint64_t limit,
                       size_t trailerLimit, const blocxx::Timeout& trailerTimeout)
    : ReceivedBody(contentType, status, limit), m_link(link), m_guard(guard), m_framing(framing),
      m_left(framing.length), m_trailerLimit(trailerLimit), m_trailerTimeout(trailerTimeout)
{
    if (framing.isEmpty())
    {
        finishComplete();
    }
}

FramedBody::~FramedBody() = default;

bool FramedBody::hasContentLength()
{
    return m_framing.isEmpty() || m_framing.kind == BodyFraming::E_LENGTH;
}

size_t FramedBody::getContentLength()
{
    return m_framing.kind == BodyFraming::E_LENGTH ? m_framing.length : 0;
}

size_t FramedBody::read(char* buffer, size_t room)
{
    if (m_guard.hasEnded())
    {
        finishByGuard();
        return 0;
    }
    switch (m_framing.kind)
    {
    case BodyFraming::E_CHUNKED:
        return readChunked(buffer, room);
    case BodyFraming::E_LENGTH:
        return readLength(buffer, room);
    default:
        return readToClose(buffer, room);
    }
}

size_t FramedBody::readLength(char* buffer, size_t room)
{
    if (m_left == 0)
    {
        finishComplete();
        return 0;
    }
    const size_t count = m_link->readSome(buffer, std::min<std::uint64_t>(room, m_left));
    if (count == 0)
    {
        finishEnded(blocxx::Format("%1 bytes before its announced length of %2", m_left, m_framing.length));
    }
    m_left -= count;
    return count;
}

size_t FramedBody::readToClose(char* buffer, size_t room)
{
    const size_t count = m_link->readSome(buffer, room);
    if (count == 0)
    {
        if (m_link->inputFailed())
        {
            finishEnded("before the server closed the connection in order");
        }
        else
        {
            finishComplete();
        }
    }
    return count;
}

size_t FramedBody::readChunked(char* buffer, size_t room)
{
    while (!m_decoder.isInTrailer() && !m_decoder.isBroken())
    {
        if (m_link->held().empty())
        {
            // After one large chunk, another is likely.
            const bool large =
                m_decoder.chunkSize() >= EqualChunks::LARGE_CHUNK_SIZE && room >= EqualChunks::LARGE_CHUNK_SIZE;
            if (large && m_decoder.dataLeft() > 0)
            {
                return readChunkData(buffer, room);
            }
            if (!m_link->fill(large ? EqualChunks::FRAMING_READ_SIZE : ExchangeLink::INPUT_SIZE))
            {
                finishEnded("before its last chunk");
                return 0;
            }
        }
        const std::string_view held = m_link->held();
        const OpenWBEM::HTTPChunkDecoder::Progress progress =
            m_decoder.decode(held.data(), held.data() + held.size(), buffer, buffer + room);
        m_link->consume(static_cast<size_t>(progress.from - held.data()));
        if (progress.to != buffer)
        {
            return static_cast<size_t>(progress.to - buffer);
        }
    }
    if (m_decoder.isBroken())
    {
        finish(ExchangeResponse::E_MALFORMED, "The chunked coding of the body is malformed");
        return 0;
    }
    readTrailer();
    return 0;
}

size_t FramedBody::readChunkData(char* buffer, size_t room)
{
    const size_t count = EqualChunks::read(m_link->direct(), m_decoder, buffer, room);
    if (count == 0)
    {
        finishEnded("before its last chunk");
    }
    return count;
}

void FramedBody::readTrailer()
{
    m_link->setDeadline(m_guard.within(m_trailerTimeout));
    HeadLines lines(m_link->input(), m_trailerLimit);
    HeadFields fields;
    switch (fields.read(lines))
    {
    case HeadFields::E_COMPLETE:
        finishComplete();
        return;
    case HeadFields::E_TOO_LARGE:
        finish(ExchangeResponse::E_TOO_LARGE,
               blocxx::Format("The trailer of the body is too large: %1", fields.problem()));
        return;
    case HeadFields::E_MALFORMED:
        finish(ExchangeResponse::E_MALFORMED,
               blocxx::Format("The trailer of the body is malformed: %1", fields.problem()));
        return;
    case HeadFields::E_END:
        break;
    }
    const LinkFailure failure = inputFailureOf(*m_link, m_guard, m_trailerTimeout);
    // All data has arrived, and the connection is of no further use.
    if (failure.endedConnection())
    {
        finish(ExchangeResponse::E_COMPLETE);
        return;
    }
    finishEnded("in its trailer", failure);
}

void FramedBody::finishComplete()
{
    finish(ExchangeResponse::E_COMPLETE);
    if (m_framing.keepsConnection)
    {
        m_link->keep();
    }
}

void FramedBody::finishEnded(const blocxx::String& where)
{
    finishEnded(where, inputFailureOf(*m_link, m_guard, blocxx::Timeout::infinite));
}

void FramedBody::finishEnded(const blocxx::String& where, const LinkFailure& failure)
{
    finish(endOf(failure.cause), blocxx::Format("The body ended %1: %2", where, failure.text), failure.systemError);
}

void FramedBody::finishByGuard()
{
    const ExchangeException::ECause cause = m_guard.causeOf(0, blocxx::String());
    finish(endOf(cause), blocxx::Format("The body was not read to its end: %1", m_guard.describe(cause)));
}

} // namespace ZOLNS2::HTTP
