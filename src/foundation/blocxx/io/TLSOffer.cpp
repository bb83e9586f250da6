#include "io/TLSOffer.hpp"

#include "io/OpenSSLText.hpp"
#include "io/SSLFailure.hpp"

#include "blocxx/Format.hpp"

#include <openssl/ssl.h>

#include <memory>
#include <string>
#include <string_view>

namespace blocxx
{

namespace
{

using Context = std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)>;
using Session = std::unique_ptr<SSL, void (*)(SSL*)>;

// A context that speaks one version of TLS alone.
Context contextOf(int version)
{
    Context context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
    if (!context || SSL_CTX_set_max_proto_version(context.get(), 0) != 1 ||
        SSL_CTX_set_min_proto_version(context.get(), version) != 1 ||
        SSL_CTX_set_max_proto_version(context.get(), version) != 1)
    {
        throwSSL(Format("SSLCtxMgr::initCtx(): SSL_CTX_new returned 0: %1", takeOpenSSLErrors()));
    }
    return context;
}

// OpenSSL's name of the suite, if a session of this context would offer it: what the security level or a missing key
// exchange forbids is left out by OpenSSL. Null otherwise.
const char* offeredName(SSL_CTX* context, std::string_view name)
{
    const Session session(SSL_new(context), &SSL_free);
    if (!session)
    {
        throwSSL(Format("SSL_new failed: %1", takeOpenSSLErrors()));
    }
    const char* found = nullptr;
    STACK_OF(SSL_CIPHER)* const offered = SSL_get1_supported_ciphers(session.get());
    for (int i = 0; i < sk_SSL_CIPHER_num(offered) && found == nullptr; ++i)
    {
        const SSL_CIPHER* const suite = sk_SSL_CIPHER_value(offered, i);
        const char* const standardName = SSL_CIPHER_standard_name(suite);
        if (name == SSL_CIPHER_get_name(suite) || (standardName != nullptr && name == standardName))
        {
            found = SSL_CIPHER_get_name(suite);
        }
    }
    sk_SSL_CIPHER_free(offered);
    return found;
}

// Calls `take` with each of the names between the colons.
template <class Take>
void forEachName(const String& names, Take take)
{
    std::string_view rest(names.c_str(), names.length());
    for (;;)
    {
        const std::size_t colon = rest.find(':');
        take(rest.substr(0, colon));
        if (colon == std::string_view::npos)
        {
            return;
        }
        rest.remove_prefix(colon + 1);
    }
}

[[noreturn]] void throwUnknown(const char* option, const char* version, std::string_view name)
{
    throwSSL(Format("SSLCtxMgr::initCtx(): SSLOpts::%1: unknown or forbidden cipher suite for %2: \"%3\"", option,
                    version, std::string(name)));
}

void checkSet(int set)
{
    if (set != 1)
    {
        throwSSL(Format("SSLCtxMgr::initCtx(): Error setting cipher list: %1", takeOpenSSLErrors()));
    }
}

} // namespace

void requireVersion(SSL_CTX* context, int minimum)
{
    if (minimum != TLS1_2_VERSION && minimum != TLS1_3_VERSION)
    {
        throwSSL(Format("SSLCtxMgr::initCtx(): SSLOpts::minimumVersion: neither TLS1_2_VERSION nor TLS1_3_VERSION: %1",
                        minimum));
    }
    if (SSL_CTX_get_min_proto_version(context) < minimum && SSL_CTX_set_min_proto_version(context, minimum) != 1)
    {
        throwSSL(Format("SSLCtxMgr::initCtx(): SSLOpts::minimumVersion: the system's configuration of OpenSSL does not "
                        "allow %1",
                        minimum == TLS1_3_VERSION ? "TLS 1.3" : "TLS 1.2"));
    }
}

// OpenSSL passes over names that it does not know, so that each of them is looked up first.
void offerCiphers(SSL_CTX* context, const String& names)
{
    if (names.empty())
    {
        return;
    }
    const Context all = contextOf(TLS1_2_VERSION);
    checkSet(SSL_CTX_set_cipher_list(all.get(), "ALL:COMPLEMENTOFALL"));
    std::string list;
    forEachName(names,
                [&](std::string_view name)
                {
                    const char* const known = offeredName(all.get(), name);
                    if (known == nullptr)
                    {
                        throwUnknown("ciphers", "TLS 1.2", name);
                    }
                    list += (list.empty() ? "" : ":") + std::string(known);
                });
    checkSet(SSL_CTX_set_cipher_list(context, list.c_str()));
}

// Suites that OpenSSL knows and does not offer by itself are in no list of its own: each name is set alone.
void offerCipherSuites(SSL_CTX* context, const String& names)
{
    if (names.empty())
    {
        return;
    }
    const Context one = contextOf(TLS1_3_VERSION);
    forEachName(names,
                [&](std::string_view name)
                {
                    const std::string alone(name);
                    if (alone.empty() || SSL_CTX_set_ciphersuites(one.get(), alone.c_str()) != 1 ||
                        offeredName(one.get(), name) == nullptr)
                    {
                        takeOpenSSLErrors();
                        throwUnknown("cipherSuites", "TLS 1.3", name);
                    }
                });
    checkSet(SSL_CTX_set_ciphersuites(context, names.c_str()));
}

// ProtocolNameList (RFC 7301, section 3.1): opaque ProtocolName<1..2^8-1>, ProtocolName protocol_name_list<2..2^16-1>
void offerProtocols(SSL_CTX* context, const Array<String>& names)
{
    const std::size_t longestName = 255;
    const std::size_t longestList = 65535;
    std::string list;
    for (const String& name : names)
    {
        if (name.empty() || name.length() > longestName)
        {
            throwSSL(Format("SSLCtxMgr::initCtx(): SSLOpts::applicationProtocols: a name has 1 to 255 bytes, not %1: "
                            "\"%2\"",
                            name.length(), name));
        }
        list += static_cast<char>(name.length());
        list.append(name.c_str(), name.length());
    }
    if (list.size() > longestList)
    {
        throwSSL(Format("SSLCtxMgr::initCtx(): SSLOpts::applicationProtocols: more than 65535 bytes: %1", list.size()));
    }
    // The context has been made without any.
    if (!list.empty() && SSL_CTX_set_alpn_protos(context, reinterpret_cast<const unsigned char*>(list.data()),
                                                 static_cast<unsigned int>(list.size())) != 0)
    {
        throwSSL(Format("SSLCtxMgr::initCtx(): SSLOpts::applicationProtocols: %1", takeOpenSSLErrors()));
    }
}

} // namespace blocxx
