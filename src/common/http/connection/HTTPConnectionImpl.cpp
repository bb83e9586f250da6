#include "connection/HTTPConnectionImpl.hpp"

#include "blocxx/ReferenceHelpers.hpp"
#include "blocxx/internal/ForcedUnwind.hpp"

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

HTTPConnectionImpl::HTTPConnectionImpl(const blocxx::SocketAddress& address,
                                       const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& sslContext,
                                       const blocxx::Timeout& timeout)
    : m_socket(sslContext),
      m_streamBuffer(&connectSocket(m_socket, address, timeout), blocxx::BaseStreamBuffer::E_IN_OUT, STREAM_BUFFER_SIZE)
{
}

HTTPConnectionImpl& HTTPConnectionImpl::of(HTTPConnection& connection)
{
    blocxx::ReferenceHelpers::checkNull(connection.m_impl.get());
    return *connection.m_impl;
}

std::iostream& HTTPConnectionImpl::makeStream()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stream)
    {
        const std::ios_base::iostate bits = state();
        m_stream.emplace(&m_streamBuffer);
        m_stream->clear(bits);
        m_streamBuffer.reportErrorsTo(&*m_stream);
        m_made.store(&*m_stream, std::memory_order_release);
    }
    return *m_stream;
}

std::ios_base::iostate HTTPConnectionImpl::state() const
{
    if (hasStream())
    {
        return m_stream->rdstate();
    }
    const bool failed = m_streamBuffer.inputState() == blocxx::BaseStreamBuffer::E_INPUT_FAILED;
    return failed ? m_state | std::ios_base::badbit : m_state;
}

void HTTPConnectionImpl::setstate(std::ios_base::iostate bits)
{
    if (hasStream())
    {
        m_stream->setstate(bits);
        return;
    }
    m_state |= bits;
}

std::size_t HTTPConnectionImpl::read(char* to, std::size_t count)
{
    const auto wanted = static_cast<std::streamsize>(count);
    if (hasStream())
    {
        return static_cast<std::size_t>(m_stream->read(to, wanted).gcount());
    }
    if (state() != std::ios_base::goodbit)
    {
        m_state |= std::ios_base::failbit;
        return 0;
    }
    // What the buffer throws, lack of memory for one, leaves badbit, as it does with a stream; its mask is empty.
    return blocxx::Internal::catchAllButUnwind(
        [&]
        {
            const std::streamsize got = m_streamBuffer.sgetn(to, wanted);
            if (got != wanted)
            {
                m_state |= std::ios_base::eofbit | std::ios_base::failbit;
            }
            return static_cast<std::size_t>(got);
        },
        [&]
        {
            m_state |= std::ios_base::badbit;
            return std::size_t{0};
        });
}

} // namespace ZOLNS2::HTTP
