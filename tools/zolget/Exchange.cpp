#include "Exchange.hpp"

#include "ExitStatus.hpp"
#include "Text.hpp"
#include "TlsFailure.hpp"

#include "blocxx/BaseStreamBuffer.hpp"

#include <cerrno>
#include <cstring>
#include <sstream>

namespace zolget
{

namespace http = ZOLNS2::HTTP;
using blocxx::BaseStreamBuffer;

namespace
{

const BaseStreamBuffer* bufferOf(const std::ios& stream)
{
    return dynamic_cast<const BaseStreamBuffer*>(stream.rdbuf());
}

/// What the library knows about a failed read or write: an `errno` value, and perhaps a text that says more.
std::string describeError(int error, const blocxx::String& text)
{
    return text.empty() ? std::strerror(error) : describeSessionFailure(text.c_str());
}

std::string describeTimeout(const char* what, const Options& options)
{
    std::ostringstream text;
    text << "the server " << what << " for " << options.readTimeout << " s; --read-timeout allows more";
    return text.str();
}

} // namespace

Exchange::Exchange(const Options& options, const http::HTTPConnection& connection)
    : m_options(options), m_connection(connection)
{
}

void Exchange::send(const http::Request& request, const RequestBodyRef& body)
{
    std::ostream& out = m_connection.ostream();
    out << request << std::flush;
    // The stream itself shows no error when it fails in the middle of a body.
    const BaseStreamBuffer* const buffer = bufferOf(out);
    if (buffer != nullptr && buffer->outputState() == BaseStreamBuffer::E_OUTPUT_FAILED)
    {
        m_sendingFailure = buffer->outputError() == ETIMEDOUT
                               ? describeTimeout("took no data", m_options)
                               : describeError(buffer->outputError(), buffer->outputErrorText()) + "; try again";
    }
    else if (body && !body->wasReadWhole())
    {
        throw Failure(ExitStatus::LOCAL_FILE,
                      "a file became shorter or unreadable while it was sent to " + m_options.url.authority());
    }
    // The response is read all the same.
    out.clear();
}

void Exchange::checkRequest() const
{
    if (!m_sendingFailure.empty())
    {
        throw Failure(ExitStatus::INCOMPLETE_REQUEST,
                      "the request to " + m_options.url.authority() + " was not sent completely: " + m_sendingFailure);
    }
}

void Exchange::failForIncomplete(const std::string& what)
{
    const BaseStreamBuffer* const buffer = bufferOf(m_connection.istream());
    const std::string text = buffer != nullptr ? buffer->inputErrorText().c_str() : "";
    if (isTlsAlert(text))
    {
        throw Failure(ExitStatus::TLS, "the secure connection to " + m_options.url.authority() +
                                           " was ended by the server: " + describeSessionFailure(text));
    }
    checkRequest();
    throw Failure(ExitStatus::INCOMPLETE_RESPONSE,
                  what + " from " + m_options.url.authority() + " is incomplete: " + describeEnd());
}

std::string Exchange::describeEnd()
{
    const BaseStreamBuffer* const buffer = bufferOf(m_connection.istream());
    const int error = buffer != nullptr ? buffer->inputError() : 0;
    if (error == ETIMEDOUT)
    {
        return describeTimeout("was silent", m_options);
    }
    if (error != 0)
    {
        return describeError(error, buffer->inputErrorText()) + "; try again";
    }
    if (buffer != nullptr && buffer->inputState() == BaseStreamBuffer::E_INPUT_OPEN)
    {
        return "the server sent something malformed; the fault is on its side";
    }
    return "the server closed the connection; try again";
}

} // namespace zolget
