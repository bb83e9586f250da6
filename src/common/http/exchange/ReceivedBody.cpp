#include "exchange/ReceivedBody.hpp"

#include "exchange/ExchangeUnit.hpp"

#include "zol/mime/ContentException.hpp"

#include <algorithm>

namespace ZOLNS2::HTTP
{

namespace
{

class ReceivedBodyStreamState : public MIME::ContentStreamState
{
};

/// The body itself remembers how far it has been read, so that one cursor does for all. Never destroyed, so that a body can
/// be read at any time of a process's life.
const MIME::ContentStreamStateRef& onlyState()
{
    static const auto* const state = new MIME::ContentStreamStateRef(new ReceivedBodyStreamState);
    return *state;
}

} // namespace

ReceivedBody::ReceivedBody(const MIME::ContentTypeHeader& contentType, unsigned short status, std::uint64_t limit)
    : m_contentType(contentType), m_status(status), m_limit(limit), m_left(limit)
{
}

ReceivedBody::~ReceivedBody() = default;

size_t ReceivedBody::getData(char* buffer, size_t room, const MIME::ContentStreamStateRef&)
{
    if (m_end != ExchangeResponse::E_OPEN)
    {
        return MIME::END_OF_DATA;
    }
    if (room == 0)
    {
        return 0;
    }
    // With the limit used up, one more byte tells a body of just that size from a larger one.
    char beyond = 0;
    const bool isUsedUp = m_left == 0;
    const size_t count = isUsedUp ? read(&beyond, 1) : read(buffer, std::min<std::uint64_t>(room, m_left));
    if (count == 0)
    {
        return m_end == ExchangeResponse::E_OPEN ? 0 : MIME::END_OF_DATA;
    }
    if (isUsedUp)
    {
        finish(ExchangeResponse::E_TOO_LARGE, blocxx::Format("The body is larger than %1 bytes", m_limit));
        return MIME::END_OF_DATA;
    }
    m_left -= count;
    return count;
}

MIME::ContentStreamStateRef ReceivedBody::createInitialStreamState() const
{
    if (m_begun)
    {
        throw MIME::ContentException(ExchangeUnit::SOURCE_UNIT, __LINE__,
                                     "The body of a response that is read as it arrives can be read once");
    }
    const MIME::ContentStreamStateRef& state = onlyState();
    m_begun = true;
    return state;
}

bool ReceivedBody::endedBadly(const MIME::ContentStreamStateRef&) const
{
    return m_end != ExchangeResponse::E_OPEN && m_end != ExchangeResponse::E_COMPLETE;
}

ExchangeException::ECause ReceivedBody::cause() const
{
    switch (m_end)
    {
    case ExchangeResponse::E_CUT:
        return ExchangeException::E_CUT;
    case ExchangeResponse::E_TIMED_OUT:
        return ExchangeException::E_TIMED_OUT;
    case ExchangeResponse::E_DEADLINE:
        return ExchangeException::E_DEADLINE;
    case ExchangeResponse::E_CANCELLED:
        return ExchangeException::E_CANCELLED;
    case ExchangeResponse::E_RESET:
        return ExchangeException::E_RESET;
    case ExchangeResponse::E_MALFORMED:
        return ExchangeException::E_MALFORMED;
    case ExchangeResponse::E_TOO_LARGE:
        return ExchangeException::E_LIMIT;
    default:
        return ExchangeException::E_ERROR;
    }
}

void ReceivedBody::finish(ExchangeResponse::EBodyEnd end, const blocxx::String& text, int systemError)
{
    m_end = end;
    m_endText = text;
    m_systemError = systemError;
    if (end != ExchangeResponse::E_COMPLETE)
    {
        const OperationLog log(ExchangeUnit::LOG_UNIT, __PRETTY_FUNCTION__);
        ZOL_LOG(log, DEBUG2, blocxx::Format("The body is not whole: %1", text));
    }
}

void ReceivedBody::finishAs(const ReceivedBody& source)
{
    m_end = source.m_end;
    m_endText = source.m_endText;
    m_systemError = source.m_systemError;
}

} // namespace ZOLNS2::HTTP
