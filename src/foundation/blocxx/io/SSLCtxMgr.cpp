#include "blocxx/SSLCtxMgr.hpp"

#include "io/OpenSSLText.hpp"
#include "io/PeerTrust.hpp"
#include "io/SSLFailure.hpp"
#include "io/TLSOffer.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/internal/CancellationOff.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <utility>

namespace blocxx
{

namespace
{

// Stands in for OpenSSL's own, which asks on the terminal.
int refusePassPhrase(char*, int, int, void* asked)
{
    if (asked != nullptr)
    {
        *static_cast<bool*>(asked) = true;
    }
    return -1;
}

void loadKey(SSL_CTX* context, const SSLOpts& opts)
{
    if (opts.pkey != nullptr)
    {
        if (SSL_CTX_use_PrivateKey(context, opts.pkey) != 1)
        {
            throwSSL(Format("SSLCtxMgr::initCtx(): Unable to set private key: %1", takeOpenSSLErrors()));
        }
        return;
    }
    bool passPhraseAsked = false;
    SSL_CTX_set_default_passwd_cb_userdata(context, &passPhraseAsked);
    const String& file = opts.keyfile.empty() ? opts.certfile : opts.keyfile;
    const bool loaded = SSL_CTX_use_PrivateKey_file(context, file.c_str(), SSL_FILETYPE_PEM) == 1;
    SSL_CTX_set_default_passwd_cb_userdata(context, nullptr);
    if (!loaded)
    {
        const String reason = takeOpenSSLErrors();
        throwSSL(Format("SSLCtxMgr::initCtx(): Couldn't read key from file: %1: %2", file,
                        passPhraseAsked ? String("it is encrypted; decrypt it first, or give it in SSLOpts::pkey")
                                        : reason));
    }
}

void loadCertificate(SSL_CTX* context, const SSLOpts& opts)
{
    if (opts.certfile.empty())
    {
        return;
    }
    if (SSL_CTX_use_certificate_chain_file(context, opts.certfile.c_str()) != 1)
    {
        throwSSL(Format("SSLCtxMgr::initCtx(): Couldn't read certificate from file: %1: %2", opts.certfile,
                        takeOpenSSLErrors()));
    }
    loadKey(context, opts);
}

} // namespace

SSLOpts::SSLOpts()
    : pkey(nullptr), verifyMode(MODE_REQUIRED), minimumVersion(TLS1_2_VERSION), applicationProtocols(1, "http/1.1")
{
}

SSLOpts::SSLOpts(const SSLOpts& other)
    : certfile(other.certfile), keyfile(other.keyfile), pkey(nullptr), trustStore(other.trustStore),
      inMemoryTrustStore(other.inMemoryTrustStore), verifyMode(other.verifyMode), crls(other.crls),
      minimumVersion(other.minimumVersion), ciphers(other.ciphers), cipherSuites(other.cipherSuites),
      applicationProtocols(other.applicationProtocols)
{
    if (other.pkey != nullptr && EVP_PKEY_up_ref(other.pkey) == 1)
    {
        pkey = other.pkey;
    }
}

SSLOpts& SSLOpts::operator=(const SSLOpts& other)
{
    SSLOpts copy(other);
    certfile.swap(copy.certfile);
    keyfile.swap(copy.keyfile);
    std::swap(pkey, copy.pkey);
    trustStore.swap(copy.trustStore);
    inMemoryTrustStore.swap(copy.inMemoryTrustStore);
    verifyMode = copy.verifyMode;
    crls.swap(copy.crls);
    minimumVersion = copy.minimumVersion;
    ciphers.swap(copy.ciphers);
    cipherSuites.swap(copy.cipherSuites);
    applicationProtocols.swap(copy.applicationProtocols);
    return *this;
}

SSLOpts::~SSLOpts()
{
    EVP_PKEY_free(pkey);
}

SSLClientCtx::SSLClientCtx(const SSLOpts& opts) : m_context(nullptr, &SSL_CTX_free)
{
    // OpenSSL reads the files, and does not clean up its state when a cancelled thread unwinds through it.
    const Internal::CancellationOff inOpenSSL;
    ERR_clear_error();
    m_context.reset(SSL_CTX_new(TLS_client_method()));
    if (!m_context)
    {
        throwSSL(Format("SSLCtxMgr::initCtx(): SSL_CTX_new returned 0: %1", takeOpenSSLErrors()));
    }
    SSL_CTX* const context = m_context.get();
    requireVersion(context, opts.minimumVersion);
    offerCiphers(context, opts.ciphers);
    offerCipherSuites(context, opts.cipherSuites);
    offerProtocols(context, opts.applicationProtocols);
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_default_passwd_cb(context, refusePassPhrase);
    loadCertificate(context, opts);
    if (opts.verifyMode != SSLOpts::MODE_DISABLED)
    {
        requireVerification(context, opts);
    }
}

SSLClientCtx::~SSLClientCtx() = default;

} // namespace blocxx
