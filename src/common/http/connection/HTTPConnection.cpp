#include "zol/http/HTTPConnection.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/ReferenceHelpers.hpp"
#include "blocxx/Socket.hpp"

#include <istream>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr int STREAM_BUFFER_SIZE = 65536;

blocxx::Socket& connectSocket(blocxx::Socket& socket, const blocxx::SocketAddress& address,
                              const blocxx::Timeout& timeout)
{
    socket.setConnectTimeout(timeout);
    socket.connect(address);
    return socket;
}

} // namespace

// The order of the members is the order they are needed in: the stream goes first, the socket last.
class HTTPConnectionImpl
{
public:
    HTTPConnectionImpl(const blocxx::SocketAddress& address,
                       const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& sslContext,
                       const blocxx::Timeout& timeout)
        : m_socket(sslContext), m_streamBuffer(&connectSocket(m_socket, address, timeout),
                                               blocxx::BaseStreamBuffer::E_IN_OUT, STREAM_BUFFER_SIZE),
          m_stream(&m_streamBuffer)
    {
        m_streamBuffer.reportErrorsTo(&m_stream);
    }

    std::iostream& stream() { return m_stream; }

private:
    blocxx::Socket m_socket;
    blocxx::IOIFCStreamBuffer m_streamBuffer;
    std::iostream m_stream;
};

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
    blocxx::ReferenceHelpers::checkNull(m_impl.get());
    return m_impl->stream();
}

std::ostream& HTTPConnection::ostream()
{
    blocxx::ReferenceHelpers::checkNull(m_impl.get());
    return m_impl->stream();
}

} // namespace ZOLNS2::HTTP
