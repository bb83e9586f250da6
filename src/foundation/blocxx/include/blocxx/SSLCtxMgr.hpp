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

    /// The certificates to trust: a PEM file, or a directory of PEM files under their hashed names. Revocation lists
    /// among them are checked.
    String trustStore;

    /// More certificates to trust. The caller owns them and keeps them until a context has been made. If this and
    /// `trustStore` are both empty, the system's certificates are trusted; otherwise those are not.
    Array<X509*> inMemoryTrustStore;

    /// MODE_REQUIRED at first.
    VerifyMode_t verifyMode;
};

/// A TLS client's context: TLS 1.2 or later; unless verification is disabled, the peer's certificate must lead to a
/// trusted one, be within its dates, not be revoked by a list in the trust store, and carry the host name or the
/// address that was connected to (RFC 9110, section 4.3.4).
///
/// @code
/// blocxx::SSLOpts opts;
/// opts.trustStore = "/etc/example/authority.pem";
/// const blocxx::SSLClientCtxRef context(new blocxx::SSLClientCtx(opts));
/// @endcode
///
/// Held by reference; one context may serve sockets on many threads. Making one reads the trusted certificates, which
/// takes tens of milliseconds for a system's: make one and share it.
class BLOCXX_COMMON_API SSLClientCtx : public IntrusiveCountableBase
{
public:
    /// @throws SSLException if a certificate, a key or the trust store cannot be used; the text names the file.
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
