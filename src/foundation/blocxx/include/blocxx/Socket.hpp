#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/IOIFC.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/SocketException.hpp"
#include "blocxx/Timeout.hpp"

namespace blocxx
{

class SSLClientCtx;
class SocketBaseImpl;

using SSLClientCtxRef = IntrusiveReference<SSLClientCtx>;
using SocketHandle_t = int;

/// A client's stream socket, plain TCP or TLS: a handle on shared state.
///
/// Copies share the connection, the time-outs and the TLS state; disconnecting one disconnects all, and the last one
/// closes the connection. The descriptor is closed on exec, never blocks a thread beyond the time-outs, and may have
/// any number. No operation raises SIGPIPE or touches the process's signal dispositions; interrupting signals do not
/// end an operation. Copies may be made and dropped on any thread; one thread at a time uses the connection.
class BLOCXX_COMMON_API Socket : public IOIFC
{
public:
    /// A plain TCP socket, not connected.
    Socket();

    /// A TLS client's socket, not connected; a plain one if the reference is null.
    Socket(const SSLClientCtxRef& sslCtx);

    Socket(const Socket& other);
    Socket& operator=(const Socket& other);
    ~Socket() override;

    /// Connects, after disconnecting what was connected. The addresses of a name are tried in turn, each with an equal
    /// share of the time that is left; on a TLS socket the handshake follows and shares the same limit. TCP_NODELAY is
    /// set.
    /// @throws SocketException with the `errno` value as its code (ECONNREFUSED, EHOSTUNREACH, ...) if no address could
    /// be connected to; the text names each address that was tried. With code ETIMEDOUT if the connect time-out
    /// expired; the text names the address, the phase ("connect" or "TLS handshake") and the limit.
    /// @throws SSLException if the handshake failed; the text names the host and the reason.
    void connect(const SocketAddress& addr);

    /// Closes the connection without waiting; a TLS socket sends close-notify if it can at once. Does nothing on a
    /// socket that is not connected.
    void disconnect();

    bool isConnected() const;

    /// Bounds `connect`; infinite at first. Takes effect at the next connect.
    void setConnectTimeout(const Timeout& timeout);
    Timeout getConnectTimeout() const;

    /// Bounds one read: how long no byte may arrive.
    void setReceiveTimeout(const Timeout& timeout);
    Timeout getReceiveTimeout() const;

    /// Bounds one write: how long no byte may leave.
    void setSendTimeout(const Timeout& timeout);
    Timeout getSendTimeout() const;

    /// Sets all three.
    void setTimeouts(const Timeout& timeout);

    /// Changes the receive and send time-outs that new sockets of the process start with; 300 seconds at first. Safe on
    /// any thread.
    static void setDefaultTimeouts(const Timeout& timeout);

    /// Reads what has arrived, waiting for the first byte if there is none.
    /// @return the bytes read; 0 at the orderly end of the stream (under TLS: close-notify); -1 on error, with `errno`
    /// ETIMEDOUT when the receive time-out expired, ENOTCONN on a socket that is not connected.
    int read(void* dataIn, int dataInLen, ErrorAction errorAsException = E_RETURN_ON_ERROR) override;

    /// Writes all bytes.
    /// @return the number of bytes given; -1 on error, with `errno` as for `read`. Some bytes may have left then.
    int write(const void* dataOut, int dataOutLen, ErrorAction errorAsException = E_RETURN_ON_ERROR) override;

    /// The address connected to, with the name it was asked for by; UNSET if not connected.
    SocketAddress getPeerAddress() const;

    /// This end's address; UNSET if not connected.
    SocketAddress getLocalAddress() const;

    /// The descriptor, -1 if not connected. It stays the socket's.
    SocketHandle_t getfd() const;

private:
    IntrusiveReference<SocketBaseImpl> m_impl;
};

} // namespace blocxx
