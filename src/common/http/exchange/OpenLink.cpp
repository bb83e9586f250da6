#include "exchange/OpenLink.hpp"

#include "exchange/ExchangeUnit.hpp"
#include "exchange/HeadLines.hpp"
#include "exchange/Text.hpp"

#include "blocxx/LookUp.hpp"
#include "blocxx/SSLException.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/SocketException.hpp"

#include <cerrno>
#include <charconv>
#include <string>
#include <string_view>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr unsigned short HTTP_PORT = 80;
constexpr unsigned short HTTPS_PORT = 443;

[[noreturn]] void throwNoServer(std::string_view text)
{
    throw ExchangeException(
        ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_URL, ExchangeException::E_MALFORMED,
        blocxx::Format("The server of the request is not a host and a port: %1", quoted(text)).c_str());
}

/// The message is that of the exception that the foundation threw, behind the guard's own reason.
[[noreturn]] void throwFailed(ExchangeException::EPhase phase, const ExchangeGuard& guard,
                              const blocxx::Exception& exception)
{
    const int error = exception.getErrorCode() > 0 ? exception.getErrorCode() : 0;
    // The text of a reset handshake says more than that the connection was reset.
    const ExchangeException::ECause cause = guard.causeOf(error, blocxx::String());
    const blocxx::String reason = guard.describe(cause);
    const blocxx::String message = reason.empty()
                                       ? blocxx::String(exception.getMessage())
                                       : blocxx::String(blocxx::Format("%1; %2", exception.getMessage(), reason));
    throw ExchangeException(ExchangeUnit::SOURCE_UNIT, __LINE__, phase, cause, message.c_str(), error, 0, &exception);
}

blocxx::SocketAddress lookUp(const Server& server, const TimeLimit& limit, const ExchangeGuard& guard,
                             const ExchangeOptions& options)
{
    blocxx::LookUp lookUp;
    lookUp.timeout = limit.remaining();
    lookUp.cancellation = guard.cancellation();
    lookUp.family = options.family;
    try
    {
        return blocxx::SocketAddress::getByName(server.host, server.port, lookUp);
    }
    catch (const blocxx::SocketException& exception)
    {
        throwFailed(ExchangeException::E_LOOK_UP, guard, exception);
    }
    catch (const blocxx::UnknownHostException& exception)
    {
        throwFailed(ExchangeException::E_LOOK_UP, guard, exception);
    }
}

} // namespace

blocxx::String Server::text() const
{
    const bool isIpv6 = host.indexOf(':') != blocxx::String::npos;
    return blocxx::Format(isIpv6 ? "[%1]:%2" : "%1:%2", host, port);
}

Server serverOf(const Request& request)
{
    const blocxx::String& url = request.getRequestLine().url;
    std::string_view rest = viewOf(url);
    std::string_view host;
    if (!rest.empty() && rest.front() == '[')
    {
        const size_t bracket = rest.find(']');
        if (bracket == std::string_view::npos)
        {
            throwNoServer(rest);
        }
        host = rest.substr(1, bracket - 1);
        rest.remove_prefix(bracket + 1);
    }
    else
    {
        const size_t colon = rest.find(':');
        host = rest.substr(0, colon);
        rest.remove_prefix(host.size());
    }
    Server server;
    server.host = toString(host).toLowerCase();
    server.port = request.getSSLContext() ? HTTPS_PORT : HTTP_PORT;
    if (!rest.empty())
    {
        const char* const end = rest.data() + rest.size();
        const std::from_chars_result result = std::from_chars(rest.data() + 1, end, server.port);
        if (rest.front() != ':' || rest.size() == 1 || result.ec != std::errc() || result.ptr != end)
        {
            throwNoServer(viewOf(url));
        }
    }
    if (host.empty())
    {
        throwNoServer(viewOf(url));
    }
    return server;
}

ExchangeLinkRef openLink(const Request& request, const Server& server, const ExchangeGuard& guard,
                         const ExchangeOptions& options, bool withOwnCertificate)
{
    const TimeLimit connectLimit(options.connectTimeout);
    const TimeLimit& limit = earlier(connectLimit, guard.deadline());
    const blocxx::SocketAddress address = lookUp(server, limit, guard, options);
    ExchangeLinkRef link(new ExchangeLink(server.text(), request.getSSLContext()));
    link->begin(guard, options);
    link->socket().setConnectTimeout(limit.remaining());
    link->socket().setOwnCertificateUsed(withOwnCertificate);
    try
    {
        link->socket().connect(address);
    }
    catch (const blocxx::SSLException& exception)
    {
        throwFailed(ExchangeException::E_TLS, guard, exception);
    }
    catch (const blocxx::SocketException& exception)
    {
        throwFailed(link->socket().reachedHandshake() ? ExchangeException::E_TLS : ExchangeException::E_CONNECT, guard,
                    exception);
    }
    return link;
}

} // namespace ZOLNS2::HTTP
