#pragma once

#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/Timeout.hpp"
#include "zol/Export.hpp"

#include <iosfwd>
#include <memory>

namespace ZOLNS2::HTTP
{

class HTTPConnectionImpl;

/// A handle to one open client connection, plain TCP or TLS, seen as one buffered stream in both directions.
///
/// Copies share the connection; the socket closes when the last copy goes, without sending what is still buffered for
/// output. There is no keep-alive: one connection serves one request and its response.
///
/// @code
/// HTTP::HTTPConnection connection(blocxx::SocketAddress::getByName("example.com", 80), blocxx::SSLClientCtxRef(),
///                                 blocxx::Timeout::relative(10));
/// connection.ostream() << request << std::flush;
/// HTTP::Response response = HTTP::getResponse(connection);
/// @endcode
///
/// Threads: handles may be copied and dropped on any thread; the connection itself is read and written by one thread at
/// a time.
class ZOL_API HTTPConnection
{
public:
    /// Opens a connection to `address`.
    ///
    /// @param sslContext  the TLS client context; a null reference asks for plain TCP
    /// @param timeout     bounds the connect, the TLS handshake included; reads and writes keep the time-outs that a
    ///                    blocxx::Socket starts with
    /// @throws blocxx::SocketException  refused, unreachable or not connected in time
    /// @throws blocxx::SSLException     the TLS session could not be set up
    HTTPConnection(const blocxx::SocketAddress& address,
                   const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& sslContext, const blocxx::Timeout& timeout);
    /// Shares the connection. There is no move: a handle that was moved from stays usable.
    HTTPConnection(const HTTPConnection&);
    HTTPConnection& operator=(const HTTPConnection&);
    ~HTTPConnection();

    /// The input side. It shares its state with the output side: a failed write shows here as well. After an orderly
    /// end of the connection it has eof and fail set, after a read error bad too.
    /// @throws blocxx::NULLReferenceException for a handle without a connection
    std::istream& istream();

    /// The output side. What is written is sent when 64 KiB have gathered or the stream is flushed.
    /// @throws blocxx::NULLReferenceException for a handle without a connection
    std::ostream& ostream();

private:
    friend class HTTPConnectionImpl;

    std::shared_ptr<HTTPConnectionImpl> m_impl;
};

} // namespace ZOLNS2::HTTP
