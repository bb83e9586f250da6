#pragma once

#include "io/PeerIdentity.hpp"

#include "blocxx/SocketAddress.hpp"
#include "blocxx/String.hpp"

#include <openssl/ssl.h>

namespace blocxx
{

class Deadline;
class OperationBounds;

/// The TLS handshake of a client on a new connection, and the check of its peer.
class SSLHandshake
{
public:
    /// @param session    new, and null if OpenSSL could not make it; not owned
    /// @param descriptor the connection, which the session is put on; not owned
    /// @param peer       outlives the handshake
    /// @param bounds     outlive it as well; may be null
    SSLHandshake(SSL* session, int descriptor, const SocketAddress& peer, OperationBounds* bounds);

    /// Called once. @return false if the time is up or a bound reached
    /// @throws SSLException if there is no session, the handshake fails, or the peer's certificate is refused
    bool perform(const Deadline& deadline);

private:
    void prepare();
    bool shakeHands(const Deadline& deadline);
    void checkPeer() const;
    bool verifies() const;
    [[noreturn]] void throwFailed(int sslError, int error) const;
    [[noreturn]] void throwNotVerified(long verdict) const;
    String peerText() const;

    SSL* const m_session;
    const int m_descriptor;
    const SocketAddress& m_peer;
    OperationBounds* const m_bounds;
    const PeerIdentity m_identity;
};

} // namespace blocxx
