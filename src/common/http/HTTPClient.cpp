#include "zol/http/HTTPClient.hpp"

#include "UnitLog.hpp"
#include "connection/HTTPConnectionImpl.hpp"
#include "request/SendHead.hpp"

#include "blocxx/SocketAddress.hpp"
#include "blocxx/String.hpp"
#include "zol/http/HTTPConnection.hpp"

#include <charconv>
#include <ostream>
#include <system_error>

namespace ZOLNS2::HTTP
{

namespace
{

blocxx::GlobalString COMPONENT_NAME = BLOCXX_GLOBAL_STRING_INIT("zol.common.http.client");
constexpr LogUnit LOG_UNIT{"HTTPClient", "HTTP Client: ", COMPONENT_NAME};

constexpr unsigned short DEFAULT_PORT = 80;

unsigned short toPort(const char* begin, const char* end, const OperationLog& log)
{
    unsigned short port = 0;
    const auto [stop, error] = std::from_chars(begin, end, port);
    if (error == std::errc() && stop == end)
    {
        return port;
    }
    const blocxx::String text(begin, static_cast<size_t>(end - begin));
    try
    {
        return text.toUInt16();
    }
    catch (const blocxx::StringConversionException& e)
    {
        ZOL_LOG(log, ERROR,
                blocxx::Format("Could not convert %1 to a port number.  Going with port 80.  Conversion Exception: %2",
                               text, e));
        return DEFAULT_PORT;
    }
}

blocxx::SocketAddress resolve(const RequestLine& requestLine, const OperationLog& log)
{
    const blocxx::String& url = requestLine.url;
    const size_t colon = url.indexOf(':');
    if (colon == blocxx::String::npos)
    {
        return blocxx::SocketAddress::getByName(url, DEFAULT_PORT);
    }
    // Deliberate: the text speaks of a missing port where there is one, and of a URL where it shows the request line.
    ZOL_LOG(log, DEBUG3, blocxx::Format("No port in requested URL: %1", requestLine));
    blocxx::String host(url.c_str(), colon);
    // Most hosts have no white space around them, and nothing but that is removed.
    if (colon > 0 && (url[0] <= ' ' || url[colon - 1] <= ' '))
    {
        host.trim();
    }
    const unsigned short port = toPort(url.c_str() + colon + 1, url.c_str() + url.length(), log);
    return blocxx::SocketAddress::getByName(host, port);
}

void send(const Request& request, HTTPConnection& connection, const OperationLog& log)
{
    HTTPConnectionImpl& output = HTTPConnectionImpl::of(connection);
    ZOL_LOG(log, DEBUG2, "Sending the request...");
    if (!request.getContent() && sendHead(output, request))
    {
        return;
    }
    output.stream() << request;
    if (output.fail())
    {
        // Only reported here: the reader of the response finds the failed stream and says what it means.
        ZOL_LOG(log, ERROR, "Sending output caused input to be marked bad (not flushed yet).");
    }
    output.stream().flush();
}

} // namespace

Response getPage(const Request& request, const blocxx::Timeout& timeout)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    const RequestLine& requestLine = request.getRequestLine();
    ZOL_LOG(log, DEBUG2, blocxx::Format("Making the following request: %1", requestLine));
    ZOL_LOG(log, DEBUG2, blocxx::Format("Requested URL: %1", requestLine.url));
    HTTPConnection connection(resolve(requestLine, log), request.getSSLContext(), timeout);
    send(request, connection, log);
    ZOL_LOG(log, DEBUG2, "Reading the response...");
    return getResponse(connection);
}

} // namespace ZOLNS2::HTTP
