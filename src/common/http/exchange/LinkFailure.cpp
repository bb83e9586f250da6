#include "exchange/LinkFailure.hpp"

#include "blocxx/ExceptionDetail.hpp"
#include "blocxx/Format.hpp"

namespace ZOLNS2::HTTP
{

namespace
{

blocxx::String timeOutText(ExchangeLink& link, const blocxx::Timeout& phaseTimeout, const blocxx::Timeout& progress)
{
    return link.socket().deadlineExpired() ? blocxx::Format("not done within %1", limitText(phaseTimeout))
                                           : blocxx::Format("no byte moved for %1", limitText(progress));
}

/// With the address, and what the device or the system says.
LinkFailure failureOf(ExchangeLink& link, const ExchangeGuard& guard, int error, const blocxx::String& text,
                      const blocxx::Timeout& phaseTimeout, const blocxx::Timeout& progress)
{
    LinkFailure failure;
    failure.cause = guard.causeOf(error, text);
    failure.systemError = error;
    const blocxx::String address = link.socket().getPeerAddress().toString();
    blocxx::String reason = guard.describe(failure.cause);
    if (reason.empty() && failure.cause == ExchangeException::E_TIMED_OUT)
    {
        reason = timeOutText(link, phaseTimeout, progress);
    }
    if (reason.empty() && text.empty())
    {
        failure.text = blocxx::ExceptionDetail::FormatMsg(address.c_str(), error).get();
        return failure;
    }
    failure.text = blocxx::Format("%1: %2", address, reason.empty() ? text : reason);
    return failure;
}

} // namespace

LinkFailure inputFailureOf(ExchangeLink& link, const ExchangeGuard& guard, const blocxx::Timeout& phaseTimeout)
{
    if (link.inputFailed())
    {
        return failureOf(link, guard, link.input().inputError(), link.input().inputErrorText(), phaseTimeout,
                         link.socket().getReceiveTimeout());
    }
    LinkFailure failure;
    failure.cause = guard.causeOf(0, blocxx::String());
    const blocxx::String reason = guard.describe(failure.cause);
    if (reason.empty())
    {
        failure.cause = ExchangeException::E_CUT;
    }
    failure.text = blocxx::Format("%1: %2", link.socket().getPeerAddress().toString(),
                                  reason.empty() ? blocxx::String("the server closed the connection") : reason);
    return failure;
}

LinkFailure outputFailureOf(ExchangeLink& link, const ExchangeGuard& guard, int error)
{
    return failureOf(link, guard, error, link.socket().lastErrorText(), blocxx::Timeout::infinite,
                     link.socket().getSendTimeout());
}

} // namespace ZOLNS2::HTTP
