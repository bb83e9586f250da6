#pragma once

#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/TlsFacts.hpp"
#include "zol/Export.hpp"

#include <optional>

namespace ZOLNS2::HTTP
{

class ExchangeLink;

/// A handle to the connection that a response came over. Copies share it; it closes when the last handle and the body
/// of its last response are gone.
///
/// @code
/// HTTP::ExchangeResponse first = HTTP::exchange(request);
/// const blocxx::Array<char> body = first.readAll();
/// HTTP::ExchangeResponse second = first.getConnection().reusable()
///     ? HTTP::exchange(first.getConnection(), next) : HTTP::exchange(next);
/// @endcode
///
/// Threads: handles may be copied and dropped on any thread; one thread at a time uses the connection.
class ZOL_API ExchangeConnection
{
public:
    /// Made by exchange(). @param link not null
    explicit ExchangeConnection(const blocxx::IntrusiveReference<ExchangeLink>& link);
    ExchangeConnection(const ExchangeConnection&);
    ExchangeConnection& operator=(const ExchangeConnection&);
    ~ExchangeConnection();

    /// Whether another exchange with the same server may use the connection: the body before has been read until its
    /// end was reported, trailer included; its length was exact (not "to the close"); both sides agreed to keep the
    /// connection (RFC 9112, section 9.3); and nothing unread is behind. The server may close it at any time all the
    /// same. A response without body leaves it reusable at once.
    bool reusable() const;

    /// The address connected to, with the name that was asked for.
    blocxx::SocketAddress getPeerAddress() const;

    /// What TLS has agreed on; none on a plain connection.
    std::optional<blocxx::TlsFacts> getTlsFacts() const;

    /// For the library itself: the connection that the handles share.
    const blocxx::IntrusiveReference<ExchangeLink>& link() const { return m_link; }

private:
    blocxx::IntrusiveReference<ExchangeLink> m_link;
};

} // namespace ZOLNS2::HTTP
