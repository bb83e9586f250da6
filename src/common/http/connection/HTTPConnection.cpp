#include "zol/http/HTTPConnection.hpp"

#include "connection/HTTPConnectionImpl.hpp"

namespace ZOLNS2::HTTP
{

HTTPConnection::HTTPConnection(const blocxx::SocketAddress& address,
                               const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& sslContext,
                               const blocxx::Timeout& timeout)
    : m_impl(std::make_shared<HTTPConnectionImpl>(address, sslContext, timeout))
{
}

HTTPConnection::HTTPConnection(const HTTPConnection&) = default;
HTTPConnection& HTTPConnection::operator=(const HTTPConnection&) = default;
HTTPConnection::~HTTPConnection() = default;

std::istream& HTTPConnection::istream()
{
    return HTTPConnectionImpl::of(*this).stream();
}

std::ostream& HTTPConnection::ostream()
{
    return HTTPConnectionImpl::of(*this).stream();
}

} // namespace ZOLNS2::HTTP
