#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/Cancellation.hpp"
#include "blocxx/IOIFC.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/SelectableIFC.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/SocketException.hpp"
#include "blocxx/SocketFlags.hpp"
#include "blocxx/Timeout.hpp"
#include "blocxx/TlsFacts.hpp"

#include <openssl/types.h>

#include <iosfwd>
#include <optional>

namespace blocxx
{

namespace Internal
{
class DirectInput;
} // namespace Internal

class SocketBaseImpl;

/// The descriptor of a socket.
using SocketHandle_t = Select_t;

/// A client's stream socket, plain TCP or TLS: a handle on shared state.
///
/// @code
/// blocxx::Socket socket(blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx));
/// socket.setConnectTimeout(blocxx::Timeout::relative(10));
/// socket.connect(blocxx::SocketAddress::getByName("www.example.com", 443));
/// socket.write("GET / HTTP/1.0\r\n\r\n", 18);
/// @endcode
///
/// Copies share the connection, the time-outs, the streams and the TLS state; disconnecting one disconnects all, and
/// the last one closes the connection. The descriptor is closed on exec, never blocks a thread beyond the time-outs,
/// and may have any number. No operation raises SIGPIPE or touches the process's signal dispositions; interrupting
/// signals do not end an operation. Copies may be made and dropped on any thread; one thread at a time uses the
/// connection. A thread may be cancelled (pthread_cancel) in any operation that waits, never in one that closes.
class BLOCXX_COMMON_API Socket : public SelectableIFC, public IOIFC
{
public:
    /// A plain TCP socket, not connected.
    Socket();

    /// A TLS client's socket, not connected; a plain one if the reference is null.
    Socket(const SSLClientCtxRef& sslCtx);

    /// Takes over a connected descriptor; it is closed with the last copy. The addresses are those that the system
    /// knows, whatever the type given.
    /// @throws SSLException for E_SSL: a client's TLS starts with `connect`.
    Socket(SocketHandle_t fd, SocketAddress::AddressType addrType,
           SocketFlags::ESSLFlag isSSL = SocketFlags::E_NOT_SSL);

    /// A plain TCP socket, connected without a time limit.
    /// @throws SocketException as `connect` does; SSLException for E_SSL, since there is no context to take trust from.
    Socket(const SocketAddress& addr, SocketFlags::ESSLFlag isSSL = SocketFlags::E_NOT_SSL);

    Socket(const Socket& other);
    Socket& operator=(const Socket& other);
    ~Socket() override;

    /// Connects, after disconnecting what was connected. The addresses of a name are tried side by side (RFC 8305,
    /// section 5): each starts 250 ms after the one before it or as soon as that has failed, earlier ones stay open,
    /// and the first that connects wins. On a TLS socket the handshake follows. One limit bounds all of it. TCP_NODELAY
    /// is set.
    /// @throws SocketException if no address could be connected to. The text lists each address with its error; the
    /// code is the `errno` value (ECONNREFUSED, EHOSTUNREACH, ...) of the first in that list that the peer or the
    /// network caused, or else of the first. If the connect time-out expired, the code is ETIMEDOUT; the text names the
    /// addresses tried, the phase ("connect" or "TLS handshake") and the limit.
    /// With code ECANCELED or ETIMEDOUT if the socket was cancelled or its deadline passed; the text names the
    /// addresses and the phase, and for the deadline the word "deadline".
    /// @throws SSLException if the handshake failed; the text names the host and the reason.
    void connect(const SocketAddress& addr);

    /// Closes the connection without waiting; a TLS socket sends close-notify if it can at once, and if it is still in
    /// the process that connected it. Does nothing on a socket that is not connected.
    void disconnect();

    /// Whether the last connect came as far as the TLS handshake, be it that it failed there.
    bool reachedHandshake() const;

    /// Whether TLS shows the own certificate of the context to a peer that asks for it; true at first. Takes effect at
    /// the next connect.
    void setOwnCertificateUsed(bool used);

    /// Whether it was connected and not disconnected since; the peer may have closed.
    bool isConnected() const;

    /// Bounds `connect`; infinite at first. Takes effect at the next connect.
    void setConnectTimeout(const Timeout& timeout);
    /// Bounds a connect, the TLS handshake included.
    Timeout getConnectTimeout() const;

    /// Bounds one read: the longest time without a byte of data. Under TLS, session tickets and key updates are not
    /// data.
    void setReceiveTimeout(const Timeout& timeout);
    /// Bounds each read.
    Timeout getReceiveTimeout() const;

    /// Bounds one write: the longest time in which no byte of data leaves.
    void setSendTimeout(const Timeout& timeout);
    /// Bounds each write, as long as it makes no progress.
    Timeout getSendTimeout() const;

    /// Sets all three.
    void setTimeouts(const Timeout& timeout);

    /// Changes the receive and send time-outs that new sockets of the process start with; 300 seconds at first. Safe on
    /// any thread.
    static void setDefaultTimeouts(const Timeout& timeout);

    /// Ends the socket's operations once the handle is cancelled: what waits then - connect, handshake, read, write,
    /// wait - fails at once with `errno` ECANCELED, and so does what starts later, also when data is there. The
    /// connection stays open. One handle may be given to many sockets; another one takes its place,
    /// and none takes it away.
    void setCancellation(const std::optional<Cancellation>& cancellation);

    /// Bounds all operations together, whatever their progress: from that moment on they fail with `errno` ETIMEDOUT,
    /// also those that could be served at once. The moment is fixed here; a relative time-out counts from now. Holds
    /// beside the other time-outs, across connects, until another deadline is set; Timeout::infinite takes it away.
    void setDeadline(const Timeout& timeout);

    /// Whether an operation has failed because the deadline had passed: tells it from a time without progress, which
    /// gives the same `errno`.
    bool deadlineExpired() const;

    /// Whether the last read or wait for input ended because its time was up; that of the socket's deadline does not
    /// count.
    bool receiveTimeOutExpired() const;

    /// Reads what has arrived, waiting for the first byte if there is none.
    /// @return the bytes read; 0 at the orderly end of the stream (under TLS: close-notify); -1 on error, with `errno`
    /// ETIMEDOUT when the receive time-out expired or the deadline passed, ECANCELED when the socket was cancelled,
    /// ENOTCONN on a socket that is not connected.
    int read(void* dataIn, int dataInLen, ErrorAction errorAsException = E_RETURN_ON_ERROR) override;

    /// Writes all bytes.
    /// @return the number of bytes given; -1 on error, with `errno` as for `read`. Some bytes may have left then.
    int write(const void* dataOut, int dataOutLen, ErrorAction errorAsException = E_RETURN_ON_ERROR) override;

    /// As `write`, but gives way to the peer: returns, once there is input to read, what has been written until then. The
    /// rest is to be written by a call that begins with the first byte that is left.
    /// @return the bytes written, fewer than given only if hasInput() would return true; -1 on error, with `errno` as for
    /// `read`
    int writeUnlessInput(const void* dataOut, int dataOutLen);

    /// Waits until a read would return at once: there is data, or the stream has ended or failed. Under TLS session
    /// tickets and key updates are taken on the way, as they are no data.
    /// @return whether it would; if not, `errno` tells why, as for waitForInput
    bool hasInput(const Timeout& timeout = Timeout::relative(0));

    /// What `errno` does not tell of the last read or write that failed: under TLS the reason for EPROTO or ECONNRESET,
    /// and that it was the deadline that passed.
    String lastErrorText() const override;

    /// Waits until a read would not block: there are bytes, or the stream has ended or failed. Under TLS the bytes may
    /// turn out not to be data.
    /// @return true when it is *not* ready: the time is up or the deadline has passed (`errno` ETIMEDOUT), or the socket
    /// is cancelled (ECANCELED) or not connected (ENOTCONN).
    bool waitForInput(const Timeout& timeout = Timeout::infinite);

    /// Waits until a write of a byte would not block. @return as `waitForInput`.
    bool waitForOutput(const Timeout& timeout = Timeout::infinite);

    /// Streams over the connection, with a buffer of 2048 bytes each way. They belong to the socket and start anew with
    /// each connect. The output stream throws `std::ios_base::failure` when a write fails; what is not flushed before
    /// the socket disconnects is dropped. They and another stream buffer over the socket do not mix.
    std::istream& getInputStream();
    /// The output side; as getInputStream().
    std::ostream& getOutputStream();

    /// The address connected to, with the name it was asked for by; UNSET if not connected.
    SocketAddress getPeerAddress() const;

    /// This end's address; UNSET if not connected.
    SocketAddress getLocalAddress() const;

    /// The descriptor, -1 if not connected. The socket owns it.
    Select_t getSelectObj() const override;
    /// The descriptor, which stays the socket's; -1 if there is none.
    SocketHandle_t getfd() const;

    /// OpenSSL's object; null for a plain socket and for one that is not connected. The socket owns it.
    SSL* getSSL() const;

    /// Whether this is a TLS connection whose peer has shown a valid certificate for the name or address asked for;
    /// false when verification is disabled.
    bool peerCertVerified() const;

    /// What the TLS connection is, for showing it; nothing for a plain socket and for one that is not connected.
    std::optional<TlsFacts> getTlsFacts() const;

private:
    friend class Internal::DirectInput;

    IntrusiveReference<SocketBaseImpl> m_impl;
};

} // namespace blocxx
