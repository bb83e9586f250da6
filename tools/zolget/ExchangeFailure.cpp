#include "ExchangeFailure.hpp"

#include "Failure.hpp"
#include "StringView.hpp"
#include "TlsFailure.hpp"

#include "zol/mime/ContentException.hpp"

#include <cerrno>
#include <sstream>

namespace zolget
{

namespace http = ZOLNS2::HTTP;
using http::ExchangeException;

namespace
{

ExchangeException::ECause causeOf(http::ExchangeResponse::EBodyEnd end)
{
    switch (end)
    {
    case http::ExchangeResponse::E_TIMED_OUT:
        return ExchangeException::E_TIMED_OUT;
    case http::ExchangeResponse::E_DEADLINE:
        return ExchangeException::E_DEADLINE;
    case http::ExchangeResponse::E_MALFORMED:
        return ExchangeException::E_MALFORMED;
    case http::ExchangeResponse::E_TOO_LARGE:
        return ExchangeException::E_LIMIT;
    case http::ExchangeResponse::E_CUT:
        return ExchangeException::E_CUT;
    case http::ExchangeResponse::E_RESET:
        return ExchangeException::E_RESET;
    default:
        return ExchangeException::E_ERROR;
    }
}

} // namespace

void ExchangeFailure::raise(const ExchangeException& error) const
{
    const std::string text = error.getMessage();
    checkDeadline(error.cause(), text);
    switch (error.phase())
    {
    case ExchangeException::E_LOOK_UP:
        raiseForLookUp(error.cause(), text);
    case ExchangeException::E_CONNECT:
        raiseForConnect(error.cause(), text);
    case ExchangeException::E_TLS:
        raiseForTls(error.cause(), text);
    case ExchangeException::E_SEND:
        raiseForSending(error);
    case ExchangeException::E_HEAD:
        raiseForHead(error.cause(), text);
    case ExchangeException::E_BODY:
        if (error.cause() == ExchangeException::E_MALFORMED || error.cause() == ExchangeException::E_LIMIT)
        {
            throw Failure(ExitStatus::MALFORMED, "the body from " + authority() + " cannot be read: " + text);
        }
        raiseForIncomplete("the body", error.cause(), text);
    case ExchangeException::E_URL:
        throw Failure(ExitStatus::USAGE, "the request cannot be sent: " + text);
    case ExchangeException::E_REDIRECT:
        break;
    }
    throw Failure(ExitStatus::UNEXPECTED, "the exchange with " + authority() + " failed: " + text);
}

void ExchangeFailure::raiseForBody(const http::ExchangeResponse& response, const std::string& keptText) const
{
    const ExchangeException::ECause cause = causeOf(response.bodyEnd());
    const std::string text = toStdString(response.bodyEndText());
    checkDeadline(cause, text + keptText);
    raiseForIncomplete("the body", cause, text, keptText);
}

void ExchangeFailure::checkDeadline(Cause cause, const std::string& text) const
{
    if (cause == ExchangeException::E_DEADLINE)
    {
        std::ostringstream message;
        message << authority() << " was not done within the " << m_options.maxTime << " s of --max-time: " << text;
        throw Failure(ExitStatus::OUT_OF_TIME, message.str());
    }
}

void ExchangeFailure::raiseForLookUp(Cause cause, const std::string& text) const
{
    const std::string message = "cannot find the host " + toStdString(m_url.host()) + ": " + text;
    if (cause == ExchangeException::E_TIMED_OUT)
    {
        throw TransientFailure(ExitStatus::RESOLVE, message + "; --connect-timeout allows more time");
    }
    throw Failure(ExitStatus::RESOLVE,
                  message + "; check the spelling of the name and the name service of this machine");
}

void ExchangeFailure::raiseForConnect(Cause cause, const std::string& text) const
{
    const bool isLate = cause == ExchangeException::E_TIMED_OUT;
    throw TransientFailure(ExitStatus::CONNECT,
                           "cannot connect to " + authority() + ": " + text +
                               (isLate ? "; --connect-timeout allows more time"
                                       : "; check the host and the port, and that the server is running"));
}

void ExchangeFailure::raiseForTls(Cause cause, const std::string& text) const
{
    if (cause == ExchangeException::E_TIMED_OUT)
    {
        raiseForConnect(cause, text);
    }
    const std::string message = "no secure connection to " + authority() + ": " + describeHandshakeFailure(text);
    if (cause == ExchangeException::E_CUT || cause == ExchangeException::E_RESET)
    {
        throw TransientFailure(ExitStatus::TLS, message);
    }
    throw Failure(ExitStatus::TLS, message);
}

void ExchangeFailure::raiseForSending(const ExchangeException& error) const
{
    if (dynamic_cast<const ZOLNS2::MIME::ContentException*>(error.getSubException()) != nullptr)
    {
        const bool isLateInput = error.getSubException()->getErrorCode() == ETIMEDOUT;
        checkDeadline(isLateInput ? ExchangeException::E_DEADLINE : error.cause(), error.getMessage());
        throw Failure(ExitStatus::LOCAL_FILE, "a file became shorter or unreadable while it was sent to " +
                                                  authority() + ": " + error.getSubException()->getMessage());
    }
    const std::string text = error.getMessage();
    checkAlert(text);
    const bool isLate = error.cause() == ExchangeException::E_TIMED_OUT;
    throw TransientFailure(ExitStatus::INCOMPLETE_REQUEST,
                           "the request to " + authority() + " was not sent completely: " +
                               (isLate ? silence("took no data") : text + "; try again"));
}

void ExchangeFailure::raiseForHead(Cause cause, const std::string& text) const
{
    if (cause == ExchangeException::E_MALFORMED || cause == ExchangeException::E_LIMIT)
    {
        throw Failure(ExitStatus::MALFORMED, "the response from " + authority() + " is not valid HTTP: " + text +
                                                 "; check that an HTTP server listens there");
    }
    raiseForIncomplete("the response", cause, text);
}

void ExchangeFailure::raiseForIncomplete(const std::string& what, Cause cause, const std::string& text,
                                         const std::string& keptText) const
{
    checkAlert(text);
    const std::string message = what + " from " + authority() + " is incomplete: ";
    if (cause == ExchangeException::E_MALFORMED || cause == ExchangeException::E_LIMIT)
    {
        throw Failure(ExitStatus::INCOMPLETE_RESPONSE,
                      message + text + "; the fault is on the server's side" + keptText);
    }
    const bool isLate = cause == ExchangeException::E_TIMED_OUT;
    const std::string advice = keptText.empty() ? "; try again" : keptText;
    throw TransientFailure(ExitStatus::INCOMPLETE_RESPONSE,
                           message + (isLate ? silence("was silent") + keptText : text + advice));
}

/// Under TLS 1.3 the server checks the client's certificate after the client has finished (RFC 8446, section 4.4.2.4).
void ExchangeFailure::checkAlert(const std::string& text) const
{
    if (isTlsAlert(text))
    {
        throw Failure(ExitStatus::TLS, "the secure connection to " + authority() +
                                           " was ended by the server: " + describeSessionFailure(text));
    }
}

std::string ExchangeFailure::silence(const char* what) const
{
    std::ostringstream text;
    text << "the server " << what << " for " << m_options.readTimeout << " s; --read-timeout allows more";
    return text.str();
}

std::string ExchangeFailure::authority() const
{
    return toStdString(m_url.authority());
}

} // namespace zolget
