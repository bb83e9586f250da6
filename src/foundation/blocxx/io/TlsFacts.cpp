#include "io/TlsFacts.hpp"

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstddef>
#include <ctime>
#include <memory>
#include <new>
#include <string>

namespace blocxx
{

namespace
{

// RFC 4514, which superseded RFC 2253, with everything escaped that is not printable ASCII.
String textOf(const X509_NAME* name)
{
    const std::unique_ptr<BIO, decltype(&::BIO_free)> memory(BIO_new(BIO_s_mem()), ::BIO_free);
    if (!memory || X509_NAME_print_ex(memory.get(), name, 0, XN_FLAG_RFC2253) < 0)
    {
        ERR_clear_error();
        throw std::bad_alloc();
    }
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &text);
    return String(text, static_cast<std::size_t>(length));
}

String textOf(const ASN1_TIME* time)
{
    std::tm parts{};
    char text[64] = "";
    if (ASN1_TIME_to_tm(time, &parts) == 1)
    {
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    }
    ERR_clear_error();
    return String(text);
}

// A protocol's name is bytes of the peer's choice; those of the registry are printable.
String applicationProtocolOf(const SSL* session)
{
    const unsigned char* name = nullptr;
    unsigned int length = 0;
    SSL_get0_alpn_selected(session, &name, &length);
    std::string text;
    for (unsigned int i = 0; i < length; ++i)
    {
        const unsigned char byte = name[i];
        text += byte >= ' ' && byte < 0x7f ? static_cast<char>(byte) : '?';
    }
    return String(text);
}

} // namespace

TlsFacts readTlsFacts(const SSL* session)
{
    TlsFacts facts;
    facts.version = SSL_get_version(session);
    facts.cipher = SSL_get_cipher_name(session);
    facts.applicationProtocol = applicationProtocolOf(session);
    if (const X509* const certificate = SSL_get0_peer_certificate(session))
    {
        facts.subject = textOf(X509_get_subject_name(certificate));
        facts.issuer = textOf(X509_get_issuer_name(certificate));
        facts.notAfter = textOf(X509_get0_notAfter(certificate));
    }
    return facts;
}

} // namespace blocxx
