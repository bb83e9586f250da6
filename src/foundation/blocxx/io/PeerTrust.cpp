#include "io/PeerTrust.hpp"

#include "io/OpenSSLText.hpp"
#include "io/SSLFailure.hpp"

#include "blocxx/Format.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

namespace blocxx
{

namespace
{

const int VERIFY_DEPTH = 9;

bool isDirectory(const String& path, const char* failure)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
    {
        const int error = errno;
        throwSSL(Format(failure, path, std::strerror(error)));
    }
    return S_ISDIR(status.st_mode);
}

void loadTrustStore(SSL_CTX* context, const String& path)
{
    const char* const failure = "Error loading truststore %1: %2";
    const int loaded = isDirectory(path, failure) ? SSL_CTX_load_verify_dir(context, path.c_str())
                                                  : SSL_CTX_load_verify_file(context, path.c_str());
    if (loaded != 1)
    {
        throwSSL(Format(failure, path, takeOpenSSLErrors()));
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

const char* const LISTS_FAILURE = "Error loading revocation lists %1: %2";

void loadLists(SSL_CTX* context, const String& file)
{
    X509_LOOKUP* const lookup = X509_STORE_add_lookup(SSL_CTX_get_cert_store(context), X509_LOOKUP_file());
    if (lookup == nullptr || X509_load_crl_file(lookup, file.c_str(), X509_FILETYPE_PEM) <= 0)
    {
        throwSSL(Format(LISTS_FAILURE, file, takeOpenSSLErrors()));
    }
}

// 8 hexadecimal digits, ".r", and a number.
bool isHashedListName(const std::string& name)
{
    const std::size_t hash = 8;
    return name.size() > hash + 2 && name.find_first_not_of("0123456789abcdef") == hash &&
           name.compare(hash, 2, ".r") == 0 && name.find_first_not_of("0123456789", hash + 2) == std::string::npos;
}

// OpenSSL's own look-up in a directory would trust the certificates that it finds there.
void loadListsOfDirectory(SSL_CTX* context, const String& path)
{
    std::error_code error;
    bool found = false;
    for (std::filesystem::directory_iterator entry(path.c_str(), error), end; !error && entry != end;
         entry.increment(error))
    {
        if (isHashedListName(entry->path().filename().string()))
        {
            loadLists(context, entry->path().string());
            found = true;
        }
    }
    if (error || !found)
    {
        throwSSL(Format(LISTS_FAILURE, path,
                        error ? error.message() : std::string("no revocation list under a hashed name")));
    }
}

void loadRevocationLists(SSL_CTX* context, const String& path)
{
    if (isDirectory(path, LISTS_FAILURE))
    {
        loadListsOfDirectory(context, path);
    }
    else
    {
        loadLists(context, path);
    }
}

bool isTrusted(X509_STORE_CTX* verification)
{
    return X509_STORE_CTX_get_error_depth(verification) == sk_X509_num(X509_STORE_CTX_get0_chain(verification)) - 1;
}

// The certificate at the end of the chain is trusted as it stands, and needs no list (RFC 5280, section 6.1). Unless it
// is a root, its issuer is not in the chain, and nothing tells whether a list is that issuer's.
bool isExcused(X509_STORE_CTX* verification, bool listsAreRequired)
{
    switch (X509_STORE_CTX_get_error(verification))
    {
    case X509_V_ERR_UNABLE_TO_GET_CRL:
        return !listsAreRequired || isTrusted(verification);
    case X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER:
    case X509_V_ERR_CRL_SIGNATURE_FAILURE:
        return isTrusted(verification) &&
               (X509_get_extension_flags(X509_STORE_CTX_get_current_cert(verification)) & EXFLAG_SI) == 0;
    default:
        return false;
    }
}

// Running out of memory is a failure, whatever the verifier calls it.
int judge(int accepted, X509_STORE_CTX* verification, bool listsAreRequired)
{
    if (accepted == 1 || !isExcused(verification, listsAreRequired) ||
        ERR_GET_REASON(ERR_peek_last_error()) == ERR_R_MALLOC_FAILURE)
    {
        return accepted;
    }
    X509_STORE_CTX_set_error(verification, X509_V_OK);
    return 1;
}

// A revocation list (RFC 5280, section 5) is applied if the trust store holds one, and never fetched: an issuer without
// a list is accepted.
int applyLists(int accepted, X509_STORE_CTX* verification)
{
    return judge(accepted, verification, false);
}

int requireLists(int accepted, X509_STORE_CTX* verification)
{
    return judge(accepted, verification, true);
}

} // namespace

void requireVerification(SSL_CTX* context, const SSLOpts& opts)
{
    loadTrust(context, opts);
    if (!opts.crls.empty())
    {
        loadRevocationLists(context, opts.crls);
    }
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, opts.crls.empty() ? applyLists : requireLists);
    SSL_CTX_set_verify_depth(context, VERIFY_DEPTH);
    // A certificate named as trusted is trusted, whether or not it is a root.
    X509_VERIFY_PARAM_set_flags(SSL_CTX_get0_param(context),
                                X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL);
}

} // namespace blocxx
