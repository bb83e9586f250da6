#include "support/Certificates.hpp"

#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace zol_test
{

namespace
{

const long SECONDS_OF_DAY = 86400;

void require(bool done, const char* what)
{
    if (!done)
    {
        throw std::runtime_error(std::string("making a certificate: ") + what);
    }
}

template <typename Write>
std::string toPem(Write write)
{
    const std::unique_ptr<BIO, decltype(&::BIO_free_all)> bio(BIO_new(BIO_s_mem()), ::BIO_free_all);
    require(bio && write(bio.get()) == 1, "PEM");
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&::X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()), ::X509_EXTENSION_free);
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, value.c_str());
}

GENERAL_NAME* generalName(int kind, ASN1_STRING* value)
{
    GENERAL_NAME* const name = GENERAL_NAME_new();
    require(name != nullptr && value != nullptr, "alternative name");
    GENERAL_NAME_set0_value(name, kind, value);
    return name;
}

// Made by hand: a name in OpenSSL's configuration holds neither a comma nor a zero byte.
void addAlternativeNames(X509* certificate, const CertificateFields& fields)
{
    const std::unique_ptr<GENERAL_NAMES, decltype(&::GENERAL_NAMES_free)> names(GENERAL_NAMES_new(),
                                                                                ::GENERAL_NAMES_free);
    for (const std::string& name : fields.dnsNames)
    {
        ASN1_STRING* const text = ASN1_IA5STRING_new();
        ASN1_STRING_set(text, name.data(), static_cast<int>(name.size()));
        sk_GENERAL_NAME_push(names.get(), generalName(GEN_DNS, text));
    }
    for (const std::string& address : fields.ipAddresses)
    {
        sk_GENERAL_NAME_push(names.get(), generalName(GEN_IPADD, a2i_IPADDRESS(address.c_str())));
    }
    if (sk_GENERAL_NAME_num(names.get()) > 0)
    {
        require(X509_add1_ext_i2d(certificate, NID_subject_alt_name, names.get(), 0, X509V3_ADD_DEFAULT) == 1,
                "alternative names");
    }
}

std::string basicConstraints(const CertificateFields& fields)
{
    const std::string authority = fields.isAuthority ? "critical,CA:TRUE" : "critical,CA:FALSE";
    return fields.pathLength < 0 ? authority : authority + ",pathlen:" + std::to_string(fields.pathLength);
}

void addExtensions(X509* certificate, X509* issuer, const CertificateFields& fields)
{
    const std::pair<int, std::string> extensions[] = {
        {NID_basic_constraints, basicConstraints(fields)},
        {NID_subject_key_identifier, "hash"},
        {NID_key_usage, fields.isAuthority ? "critical,keyCertSign,cRLSign" : ""},
        {NID_name_constraints, fields.nameConstraints},
        {NID_ext_key_usage, fields.extendedKeyUsage},
        {NID_netscape_comment, fields.comment},
    };
    for (const auto& [kind, value] : extensions)
    {
        if (!value.empty())
        {
            addExtension(certificate, issuer, kind, value);
        }
    }
    addAlternativeNames(certificate, fields);
}

EVP_PKEY* makeKey(const CertificateFields& fields)
{
    return fields.rsaBits > 0 ? EVP_RSA_gen(static_cast<unsigned>(fields.rsaBits)) : EVP_EC_gen("P-256");
}

// Without an issuer the certificate signs itself.
Certificate make(const Certificate* issuer, const CertificateFields& fields)
{
    static std::atomic<long> serial{1};
    Certificate made;
    made.key.reset(makeKey(fields), ::EVP_PKEY_free);
    made.x509.reset(X509_new(), ::X509_free);
    require(made.key && made.x509, "memory");

    X509* const x509 = made.x509.get();
    X509_set_version(x509, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(x509), serial++);
    X509_gmtime_adj(X509_getm_notBefore(x509), fields.validFromDays * SECONDS_OF_DAY);
    X509_gmtime_adj(X509_getm_notAfter(x509), fields.validToDays * SECONDS_OF_DAY);
    X509_set_pubkey(x509, made.key.get());
    const auto* name = reinterpret_cast<const unsigned char*>(fields.commonName.c_str());
    require(X509_NAME_add_entry_by_txt(X509_get_subject_name(x509), "CN", MBSTRING_UTF8, name, -1, -1, 0) == 1, "name");

    const Certificate& signer = issuer != nullptr ? *issuer : made;
    require(X509_set_issuer_name(x509, X509_get_subject_name(signer.x509.get())) == 1, "issuer");
    addExtensions(x509, signer.x509.get(), fields);
    require(X509_sign(x509, signer.key.get(), EVP_get_digestbyname(fields.digest)) > 0, "signature");
    return made;
}

} // namespace

std::string Certificate::certificatePem() const
{
    return toPem([this](BIO* bio) { return PEM_write_bio_X509(bio, x509.get()); });
}

std::string Certificate::keyPem() const
{
    return toPem([this](BIO* bio)
                 { return PEM_write_bio_PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
}

std::string Certificate::encryptedKeyPem(const std::string& passPhrase) const
{
    return toPem(
        [&](BIO* bio)
        {
            return PEM_write_bio_PKCS8PrivateKey(bio, key.get(), EVP_aes_256_cbc(), passPhrase.data(),
                                                 static_cast<int>(passPhrase.size()), nullptr, nullptr);
        });
}

Certificate makeAuthority(const std::string& commonName)
{
    CertificateFields fields;
    fields.commonName = commonName;
    return makeAuthority(fields);
}

Certificate makeAuthority(CertificateFields fields)
{
    fields.isAuthority = true;
    return make(nullptr, fields);
}

Certificate issue(const Certificate& authority, const CertificateFields& fields)
{
    return make(&authority, fields);
}

Certificate selfSigned(const CertificateFields& fields)
{
    return make(nullptr, fields);
}

std::string revocationListPem(const Certificate& authority, const std::vector<Certificate>& revoked, int expiresInDays,
                              bool namesKey)
{
    const std::unique_ptr<X509_CRL, decltype(&::X509_CRL_free)> list(X509_CRL_new(), ::X509_CRL_free);
    const std::unique_ptr<ASN1_TIME, decltype(&::ASN1_TIME_free)> made(X509_gmtime_adj(nullptr, -10 * SECONDS_OF_DAY),
                                                                       ::ASN1_TIME_free);
    const std::unique_ptr<ASN1_TIME, decltype(&::ASN1_TIME_free)> end(
        X509_gmtime_adj(nullptr, expiresInDays * SECONDS_OF_DAY), ::ASN1_TIME_free);
    X509_CRL_set_version(list.get(), X509_CRL_VERSION_2);
    X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(authority.x509.get()));
    X509_CRL_set1_lastUpdate(list.get(), made.get());
    X509_CRL_set1_nextUpdate(list.get(), end.get());
    for (const Certificate& certificate : revoked)
    {
        X509_REVOKED* const entry = X509_REVOKED_new();
        X509_REVOKED_set_serialNumber(entry, X509_get_serialNumber(certificate.x509.get()));
        X509_REVOKED_set_revocationDate(entry, made.get());
        require(X509_CRL_add0_revoked(list.get(), entry) == 1, "revocation");
    }
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, authority.x509.get(), nullptr, nullptr, list.get(), 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&::X509_EXTENSION_free)> keyIdentifier(
        X509V3_EXT_conf_nid(nullptr, &context, NID_authority_key_identifier, "keyid:always"), ::X509_EXTENSION_free);
    require(!namesKey || (keyIdentifier && X509_CRL_add_ext(list.get(), keyIdentifier.get(), -1) == 1),
            "key identifier");
    require(X509_CRL_sign(list.get(), authority.key.get(), EVP_sha256()) > 0, "revocation list");
    return toPem([&list](BIO* bio) { return PEM_write_bio_X509_CRL(bio, list.get()); });
}

std::string hashedName(const Certificate& subject, const std::string& ending)
{
    char name[16];
    std::snprintf(name, sizeof name, "%08lx",
                  X509_NAME_hash_ex(X509_get_subject_name(subject.x509.get()), nullptr, nullptr, nullptr));
    return name + ending;
}

} // namespace zol_test
