#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/BLOCXX_config.h"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/SSLException.hpp"
#include "blocxx/String.hpp"

#include <openssl/types.h>

#include <memory>

namespace blocxx
{

/// What a TLS context is made from.
class BLOCXX_COMMON_API SSLOpts
{
public:
    /// What is asked of the peer's certificate.
    enum VerifyMode_t
    {
        MODE_DISABLED,  ///< any certificate is accepted: nothing protects against an impostor
        MODE_REQUIRED,  ///< the peer's certificate must be valid
        MODE_OPTIONAL,  ///< on a client the same as MODE_REQUIRED
        MODE_AUTOUPDATE ///< on a client the same as MODE_REQUIRED
    };

    SSLOpts();
    /// Copies share the key in `pkey`.
    SSLOpts(const SSLOpts& other);
    SSLOpts& operator=(const SSLOpts& other);
    ~SSLOpts();

    /// PEM file with the own certificate and the chain above it; empty for none, and then `keyfile` and `pkey` are
    /// ignored.
    String certfile;

    /// PEM file with the own private key; empty if it is in `certfile`. It must not be encrypted: no pass phrase
    /// is asked for.
    String keyfile;

    /// The own private key in memory, used instead of `keyfile`; null for none. Owned: freed with the last copy.
    EVP_PKEY* pkey;

    /// The certificates to trust: a PEM file, or a directory of PEM files under their hashed names (as
    /// `openssl rehash` makes them). Revocation lists among them are applied where they match, and one that has expired
    /// refuses what its issuer has signed; an issuer without a list is accepted.
    String trustStore;

    /// More certificates to trust. The caller owns them and keeps them until a context has been made. If this and
    /// `trustStore` are both empty, the system's certificates are trusted; otherwise those are not.
    Array<X509*> inMemoryTrustStore;

    /// MODE_REQUIRED at first.
    VerifyMode_t verifyMode;

    /// Certificate revocation lists (RFC 5280, section 5): a PEM file, or a directory of PEM files under their hashed
    /// names, of which those that end in ".r" and a number are read. Certificates among them are not trusted for it.
    /// Once this is set, every issuer in the peer's chain must have a current list, here or in `trustStore`; without
    /// one the peer is refused. They are read when a context is made and never fetched: to use newer lists, make
    /// another context. Empty at first. Not read if verification is disabled.
    String crls;

    /// The oldest version of TLS to speak: `TLS1_2_VERSION`, the value at first, or `TLS1_3_VERSION` of
    /// <openssl/ssl.h>. The system's configuration of OpenSSL may ask for more.
    int minimumVersion;

    /// The cipher suites to offer for TLS 1.2, the preferred one first: their names, as OpenSSL or RFC 5246 write them,
    /// with a colon between each two ("ECDHE-RSA-AES256-GCM-SHA384:ECDHE-RSA-AES128-GCM-SHA256"). Groups, operators and
    /// commands, such as "HIGH", "!RSA" or "@STRENGTH", are not accepted, and neither is a suite that OpenSSL's security
    /// level forbids. Empty, as it is at first, for the system's choice.
    String ciphers;

    /// The cipher suites to offer for TLS 1.3, written in the same way ("TLS_AES_256_GCM_SHA384"). Empty, as it is at
    /// first, for the system's choice.
    String cipherSuites;

    /// The protocols to offer by ALPN (RFC 7301), the preferred one first; names of 1 to 255 bytes. {"http/1.1"} at
    /// first; empty for none, and then the extension is not sent. A server that chooses none is accepted; what it has
    /// chosen is in TlsFacts.
    Array<String> applicationProtocols;
};

/// A TLS client's context: TLS 1.2 or later; unless verification is disabled, the peer's certificate must lead to a
/// trusted one, be within its dates, not be on a revocation list that was given, and carry the host name or the
/// address that was connected to (RFC 9110, section 4.3.4).
///
/// @code
/// blocxx::SSLOpts opts;
/// opts.trustStore = "/etc/example/authority.pem";
/// opts.crls = "/etc/example/revoked.pem";
/// const blocxx::SSLClientCtxRef context(new blocxx::SSLClientCtx(opts));
/// @endcode
///
/// Held by reference; one context may serve sockets on many threads. Making one reads the trusted certificates, which
/// takes tens of milliseconds for a system's: make one and share it.
class BLOCXX_COMMON_API SSLClientCtx : public IntrusiveCountableBase
{
public:
    /// @throws SSLException if a certificate, a key, the trust store or the revocation lists cannot be used; the text
    /// names the file. And if a version, a cipher suite or a protocol is none that can be used; the text names it.
    explicit SSLClientCtx(const SSLOpts& opts = SSLOpts());
    SSLClientCtx(const SSLClientCtx&) = delete;
    SSLClientCtx& operator=(const SSLClientCtx&) = delete;
    ~SSLClientCtx() override;

    /// OpenSSL's object; the context owns it.
    SSL_CTX* getSSLCtx() const { return m_context.get(); }

private:
    std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> m_context;
};

using SSLClientCtxRef = IntrusiveReference<SSLClientCtx>;

} // namespace blocxx
