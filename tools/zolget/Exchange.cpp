#include "Exchange.hpp"

#include "ExitStatus.hpp"

#include "blocxx/BaseStreamBuffer.hpp"

#include <cerrno>
#include <cstring>
#include <sstream>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

Exchange::Exchange(const Options& options, const http::HTTPConnection& connection)
    : m_options(options), m_connection(connection)
{
}

void Exchange::send(const http::Request& request, const RequestBodyRef& body)
{
    std::ostream& out = m_connection.ostream();
    out << request << std::flush;
    if (body && body->endedEarly())
    {
        throw Failure(ExitStatus::LOCAL_FILE,
                      "a file became shorter or unreadable while it was sent to " + m_options.url.authority());
    }
    // A stream that fails in the middle of a body shows no error; a body that was not read whole does.
    m_wasSent = out.good() && (!body || body->wasReadWhole());
    out.clear();
}

void Exchange::failForIncomplete(const std::string& what)
{
    throw Failure(ExitStatus::INCOMPLETE,
                  what + " from " + m_options.url.authority() + " is incomplete: " + describeEnd());
}

std::string Exchange::describeEnd()
{
    const auto* const buffer = dynamic_cast<const blocxx::BaseStreamBuffer*>(m_connection.istream().rdbuf());
    const int error = buffer != nullptr ? buffer->inputError() : 0;
    if (error == ETIMEDOUT)
    {
        std::ostringstream text;
        text << "the server was silent for " << m_options.readTimeout << " s; --read-timeout allows more";
        return text.str();
    }
    if (!m_wasSent)
    {
        return "the connection broke while the request was sent; try again";
    }
    if (error != 0)
    {
        return std::string(std::strerror(error)) + "; try again";
    }
    if (buffer != nullptr && buffer->inputState() == blocxx::BaseStreamBuffer::E_INPUT_OPEN)
    {
        return "the server sent something malformed; the fault is on its side";
    }
    return "the server closed the connection; try again";
}

} // namespace zolget
