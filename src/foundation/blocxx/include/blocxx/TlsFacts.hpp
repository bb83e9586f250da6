#pragma once

#include "blocxx/String.hpp"

namespace blocxx
{

/// What was agreed on in a TLS handshake, for showing it; see Socket::getTlsFacts. The texts are printable ASCII,
/// whatever the certificate holds, and do not tell whether it is valid; Socket::peerCertVerified does.
struct TlsFacts
{
    String version;             ///< "TLSv1.3"
    String cipher;              ///< OpenSSL's name of the suite: "TLS_AES_256_GCM_SHA384"
    String subject;             ///< of the peer's certificate, as RFC 4514 writes names: "CN=www.example.com,O=Example"
    String issuer;              ///< its issuer likewise
    String notAfter;            ///< the end of its validity, as RFC 3339 writes it: "2031-12-31T23:59:59Z"
    String applicationProtocol; ///< the one chosen by ALPN (RFC 7301); empty for none
};

} // namespace blocxx
