#include "exchange/ExchangeLink.hpp"

#include <algorithm>
#include <cstring>

namespace ZOLNS2::HTTP
{

namespace
{

// A shorter read goes through the buffer, so that many short ones share a system call.
constexpr std::size_t LARGE_READ_SIZE = 8192;

} // namespace

ExchangeLink::ExchangeLink(const Url& url, const Request::SSLContextRef& sslContext)
    : m_host(url.host()), m_port(url.port()), m_sslContext(sslContext), m_socket(sslContext),
      m_input(&m_socket, blocxx::BaseStreamBuffer::E_IN, INPUT_SIZE), m_direct(&m_input)
{
}

ExchangeLink::~ExchangeLink() = default;

bool ExchangeLink::leadsTo(const Url& url, const Request::SSLContextRef& sslContext) const
{
    return m_host == url.host() && m_port == url.port() && m_sslContext == sslContext;
}

ExchangeLink::Recent& ExchangeLink::recent()
{
    if (!m_recent)
    {
        m_recent = std::make_unique<Recent>();
    }
    return *m_recent;
}

void ExchangeLink::begin(const ExchangeGuard& guard, const ExchangeOptions& options)
{
    m_idle = false;
    ++m_exchanges;
    m_socket.setReceiveTimeout(options.progressTimeout);
    m_socket.setSendTimeout(options.progressTimeout);
    m_socket.setCancellation(guard.cancellation());
    setDeadline(guard.deadline());
}

void ExchangeLink::setDeadline(const TimeLimit& limit)
{
    m_socket.setDeadline(limit.remaining());
}

std::size_t ExchangeLink::readSome(char* to, std::size_t room)
{
    if (held().empty())
    {
        if (room >= LARGE_READ_SIZE)
        {
            return m_direct.readDirect(to, room, 0);
        }
        if (!fill())
        {
            return 0;
        }
    }
    const std::string_view bytes = held().substr(0, room);
    std::memcpy(to, bytes.data(), bytes.size());
    consume(bytes.size());
    return bytes.size();
}

bool ExchangeLink::isReusable()
{
    // Whatever the server says unasked, a close included, makes the connection useless.
    return m_idle && held().empty() && !m_socket.hasInput();
}

} // namespace ZOLNS2::HTTP
