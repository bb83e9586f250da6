#include "Signing.hpp"

#include <openssl/bio.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace hostile
{

namespace
{

constexpr long SECONDS_OF_DAY = 86400;

void require(bool done, const char* what)
{
    if (!done)
    {
        throw std::runtime_error(std::string("making an identity: ") + what);
    }
}

template <typename Write>
std::string pemOf(Write write)
{
    const std::unique_ptr<BIO, decltype(&::BIO_free_all)> bio(BIO_new(BIO_s_mem()), ::BIO_free_all);
    require(bio && write(bio.get()) == 1, "PEM");
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

void add(X509* x509, X509* issuer, int kind, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, x509, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&::X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()), ::X509_EXTENSION_free);
    require(extension && X509_add_ext(x509, extension.get(), -1) == 1, value.c_str());
}

/// An extension that no verifier knows, and that says that it must be known.
void addUnknownCritical(X509* x509)
{
    const std::unique_ptr<ASN1_OBJECT, decltype(&::ASN1_OBJECT_free)> id(OBJ_txt2obj("2.5.29.9999", 1),
                                                                         ::ASN1_OBJECT_free);
    const std::unique_ptr<ASN1_OCTET_STRING, decltype(&::ASN1_OCTET_STRING_free)> value(ASN1_OCTET_STRING_new(),
                                                                                        ::ASN1_OCTET_STRING_free);
    const unsigned char null[] = {5, 0};
    ASN1_OCTET_STRING_set(value.get(), null, sizeof null);
    const std::unique_ptr<X509_EXTENSION, decltype(&::X509_EXTENSION_free)> extension(
        X509_EXTENSION_create_by_OBJ(nullptr, id.get(), 1, value.get()), ::X509_EXTENSION_free);
    require(extension && X509_add_ext(x509, extension.get(), -1) == 1, "unknown extension");
}

/// A DNS name that holds a NUL, which a text of the configuration language cannot.
void addNameWithNul(X509* x509)
{
    const std::string name("localhost\0.example.com", 22);
    const std::unique_ptr<GENERAL_NAMES, decltype(&::GENERAL_NAMES_free)> names(sk_GENERAL_NAME_new_null(),
                                                                                ::GENERAL_NAMES_free);
    GENERAL_NAME* const one = GENERAL_NAME_new();
    ASN1_IA5STRING* const text = ASN1_IA5STRING_new();
    ASN1_STRING_set(text, name.data(), static_cast<int>(name.size()));
    GENERAL_NAME_set0_value(one, GEN_DNS, text);
    sk_GENERAL_NAME_push(names.get(), one);
    require(X509_add1_ext_i2d(x509, NID_subject_alt_name, names.get(), 0, 0) == 1, "name");
}

void addExtensions(X509* x509, X509* issuer, const Fields& fields)
{
    std::string constraints = fields.isAuthority ? "critical,CA:TRUE" : "critical,CA:FALSE";
    if (fields.pathLength >= 0)
    {
        constraints += ",pathlen:" + std::to_string(fields.pathLength);
    }
    add(x509, issuer, NID_basic_constraints, constraints);
    add(x509, issuer, NID_subject_key_identifier, "hash");
    if (fields.isAuthority)
    {
        add(x509, issuer, NID_key_usage, "critical,keyCertSign,cRLSign");
    }
    else if (fields.alternativeNames == NAME_WITH_NUL)
    {
        addNameWithNul(x509);
    }
    else if (!fields.alternativeNames.empty())
    {
        add(x509, issuer, NID_subject_alt_name, fields.alternativeNames);
    }
    if (!fields.extendedUse.empty())
    {
        add(x509, issuer, NID_ext_key_usage, fields.extendedUse);
    }
    if (!fields.nameConstraints.empty())
    {
        add(x509, issuer, NID_name_constraints, fields.nameConstraints);
    }
    if (fields.hasUnknownCritical)
    {
        addUnknownCritical(x509);
    }
}

} // namespace

Signed make(const Signed* issuer, const Fields& fields)
{
    static long serial = 1;
    Signed made;
    made.key.reset(fields.rsaBits > 0 ? EVP_RSA_gen(static_cast<unsigned>(fields.rsaBits)) : EVP_EC_gen("P-256"),
                   ::EVP_PKEY_free);
    made.x509.reset(X509_new(), ::X509_free);
    require(made.key && made.x509, "key");
    X509* const x509 = made.x509.get();
    X509_set_version(x509, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(x509), serial++);
    X509_gmtime_adj(X509_getm_notBefore(x509), fields.firstDay * SECONDS_OF_DAY);
    X509_gmtime_adj(X509_getm_notAfter(x509), fields.lastDay * SECONDS_OF_DAY);
    X509_set_pubkey(x509, made.key.get());
    const auto* name = reinterpret_cast<const unsigned char*>(fields.name.c_str());
    require(X509_NAME_add_entry_by_txt(X509_get_subject_name(x509), "CN", MBSTRING_UTF8, name, -1, -1, 0) == 1, "name");
    const Signed& signer = issuer != nullptr ? *issuer : made;
    X509_set_issuer_name(x509, X509_get_subject_name(signer.x509.get()));
    addExtensions(x509, signer.x509.get(), fields);
    require(X509_sign(x509, signer.key.get(), fields.digest) > 0, "signature");
    return made;
}

std::string pemOf(const Signed& certificate)
{
    return pemOf([&](BIO* bio) { return PEM_write_bio_X509(bio, certificate.x509.get()); });
}

std::string keyPemOf(const Signed& certificate)
{
    return pemOf(
        [&](BIO* bio)
        { return PEM_write_bio_PrivateKey(bio, certificate.key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
}

std::string listNaming(const Signed* revoked, const Signed& authority, int lastDay)
{
    const std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)> list(X509_CRL_new(), X509_CRL_free);
    X509_CRL_set_version(list.get(), X509_CRL_VERSION_2);
    X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(authority.x509.get()));
    const std::unique_ptr<ASN1_TIME, decltype(&ASN1_TIME_free)> moment(ASN1_TIME_new(), ASN1_TIME_free);
    X509_gmtime_adj(moment.get(), -2 * SECONDS_OF_DAY);
    X509_CRL_set1_lastUpdate(list.get(), moment.get());
    if (revoked != nullptr)
    {
        X509_REVOKED* const entry = X509_REVOKED_new();
        X509_REVOKED_set_serialNumber(entry, X509_get_serialNumber(revoked->x509.get()));
        X509_REVOKED_set_revocationDate(entry, moment.get());
        X509_CRL_add0_revoked(list.get(), entry);
    }
    X509_gmtime_adj(moment.get(), lastDay * SECONDS_OF_DAY);
    X509_CRL_set1_nextUpdate(list.get(), moment.get());
    X509_CRL_sort(list.get());
    require(X509_CRL_sign(list.get(), authority.key.get(), EVP_sha256()) > 0, "list");
    return pemOf([&](BIO* bio) { return PEM_write_bio_X509_CRL(bio, list.get()); });
}

} // namespace hostile
