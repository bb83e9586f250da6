#include "zol/http/ExchangeConnection.hpp"

#include "exchange/ExchangeLink.hpp"

namespace ZOLNS2::HTTP
{

ExchangeConnection::ExchangeConnection(const ExchangeLinkRef& link) : m_link(link) {}

ExchangeConnection::ExchangeConnection(const ExchangeConnection&) = default;
ExchangeConnection& ExchangeConnection::operator=(const ExchangeConnection&) = default;
ExchangeConnection::~ExchangeConnection() = default;

bool ExchangeConnection::reusable() const
{
    return m_link->isReusable();
}

blocxx::SocketAddress ExchangeConnection::getPeerAddress() const
{
    return m_link->socket().getPeerAddress();
}

std::optional<blocxx::TlsFacts> ExchangeConnection::getTlsFacts() const
{
    return m_link->socket().getTlsFacts();
}

} // namespace ZOLNS2::HTTP
