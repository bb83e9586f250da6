#include "exchange/ExchangeGuard.hpp"

#include "blocxx/Format.hpp"

#include <cerrno>

namespace ZOLNS2::HTTP
{

ExchangeGuard::ExchangeGuard(const ExchangeOptions& options)
    : m_deadline(options.deadline), m_deadlineAsSet(options.deadline), m_cancellation(options.cancellation)
{
}

ExchangeException::ECause ExchangeGuard::causeOf(int error, const blocxx::String& text) const
{
    if (isCancelled())
    {
        return ExchangeException::E_CANCELLED;
    }
    if (m_deadline.expired())
    {
        return ExchangeException::E_DEADLINE;
    }
    switch (error)
    {
    case ETIMEDOUT:
        return ExchangeException::E_TIMED_OUT;
    case ECONNRESET:
        // TLS says in words that the connection ended without close-notify.
        return text.empty() ? ExchangeException::E_RESET : ExchangeException::E_CUT;
    case EPIPE:
        return ExchangeException::E_RESET;
    default:
        return ExchangeException::E_ERROR;
    }
}

blocxx::String ExchangeGuard::describe(ExchangeException::ECause cause) const
{
    switch (cause)
    {
    case ExchangeException::E_CANCELLED:
        return "cancelled";
    case ExchangeException::E_DEADLINE:
        return blocxx::Format("not done by its deadline (%1)", limitText(m_deadlineAsSet));
    default:
        return blocxx::String();
    }
}

} // namespace ZOLNS2::HTTP
