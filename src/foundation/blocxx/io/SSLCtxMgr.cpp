#include "blocxx/SSLCtxMgr.hpp"

#include "io/OpenSSLText.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/internal/CancellationOff.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace blocxx
{

namespace
{

const int VERIFY_DEPTH = 9;

[[noreturn]] void throwSSL(const String& message)
{
    BLOCXX_THROW(SSLException, message.c_str());
}

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

void loadTrustStore(SSL_CTX* context, const String& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
    {
        const int error = errno;
        throwSSL(Format("Error loading truststore %1: %2", path, std::strerror(error)));
    }
    const int loaded = S_ISDIR(status.st_mode) ? SSL_CTX_load_verify_dir(context, path.c_str())
                                               : SSL_CTX_load_verify_file(context, path.c_str());
    if (loaded != 1)
    {
        throwSSL(Format("Error loading truststore %1: %2", path, takeOpenSSLErrors()));
    }
}

void loadTrust(SSL_CTX* context, const SSLOpts& opts)
{
    if (opts.trustStore.empty() && opts.inMemoryTrustStore.empty())
    {
        // What is missing here shows as an untrusted issuer in the handshake, whose message says what to do.
        SSL_CTX_set_default_verify_paths(context);
        return;
    }
    if (!opts.trustStore.empty())
    {
        loadTrustStore(context, opts.trustStore);
    }
    for (X509* certificate : opts.inMemoryTrustStore)
    {
        if (certificate == nullptr || X509_STORE_add_cert(SSL_CTX_get_cert_store(context), certificate) != 1)
        {
            throwSSL(Format("Error adding trusted certificate %1", takeOpenSSLErrors()));
        }
    }
}

// A revocation list (RFC 5280, section 5) is checked if the trust store holds one, and never fetched: an issuer without
// a list is accepted. Running out of memory is a failure all the same.
int acceptMissingRevocationList(int accepted, X509_STORE_CTX* verification)
{
    if (accepted == 1 || X509_STORE_CTX_get_error(verification) != X509_V_ERR_UNABLE_TO_GET_CRL ||
        ERR_GET_REASON(ERR_peek_last_error()) == ERR_R_MALLOC_FAILURE)
    {
        return accepted;
    }
    X509_STORE_CTX_set_error(verification, X509_V_OK);
    return 1;
}

void requireVerification(SSL_CTX* context, const SSLOpts& opts)
{
    loadTrust(context, opts);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, acceptMissingRevocationList);
    SSL_CTX_set_verify_depth(context, VERIFY_DEPTH);
    // A certificate named as trusted is trusted, whether or not it is a root.
    X509_VERIFY_PARAM_set_flags(SSL_CTX_get0_param(context),
                                X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL);
}

} // namespace

SSLOpts::SSLOpts() : pkey(nullptr), verifyMode(MODE_REQUIRED) {}

SSLOpts::SSLOpts(const SSLOpts& other)
    : certfile(other.certfile), keyfile(other.keyfile), pkey(nullptr), trustStore(other.trustStore),
      inMemoryTrustStore(other.inMemoryTrustStore), verifyMode(other.verifyMode)
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
    // The system's configuration may ask for more than this, never for less.
    if (SSL_CTX_get_min_proto_version(context) < TLS1_2_VERSION)
    {
        SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    }
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
