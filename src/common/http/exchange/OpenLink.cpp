#include "exchange/OpenLink.hpp"

#include "exchange/ExchangeUnit.hpp"

#include "blocxx/LookUp.hpp"
#include "blocxx/SSLException.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/SocketException.hpp"

namespace ZOLNS2::HTTP
{

namespace
{

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

blocxx::SocketAddress lookUp(const Url& url, const blocxx::Timeout& timeout, const ExchangeGuard& guard,
                             const ExchangeOptions& options)
{
    blocxx::LookUp lookUp;
    lookUp.timeout = timeout;
    lookUp.cancellation = guard.cancellation();
    lookUp.family = options.family;
    try
    {
        return blocxx::SocketAddress::getByName(url.host(), url.port(), lookUp);
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

ExchangeLinkRef openLink(const Request& request, const Url& url, const ExchangeGuard& guard,
                         const ExchangeOptions& options, bool withOwnCertificate)
{
    const TimeLimit limit = guard.within(options.connectTimeout);
    const blocxx::Timeout left = limit.remaining();
    const blocxx::SocketAddress address = lookUp(url, left, guard, options);
    ExchangeLinkRef link(new ExchangeLink(url, request.getSSLContext()));
    link->begin(guard, options);
    // An address in numbers takes no time.
    link->socket().setConnectTimeout(address.hasHostName() ? limit.remaining() : left);
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
