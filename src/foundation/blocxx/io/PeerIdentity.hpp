#pragma once

#include "blocxx/SocketAddress.hpp"
#include "blocxx/String.hpp"

#include <openssl/types.h>

namespace blocxx
{

/// The host name or the address that a TLS peer's certificate has to carry (RFC 9110, section 4.3.4).
class PeerIdentity
{
public:
    explicit PeerIdentity(const SocketAddress& peer);

    /// Sends the peer the name that is asked for (SNI, RFC 6066, section 3); an address is not sent. @return false if
    /// TLS cannot carry the name
    bool announce(SSL* session) const;

    /// Has the handshake refuse a certificate for another name or address. @return false on failure
    bool require(SSL* session) const;

    /// Compares a certificate by itself, whatever the handshake has checked.
    /// @return X509_V_OK, or the verifier's code for a mismatch
    long compare(X509* certificate) const;

private:
    bool m_isName;
    String m_text;
};

} // namespace blocxx
