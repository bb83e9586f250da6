#include "Identity.hpp"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace hostile
{

namespace
{

constexpr long SECONDS_OF_DAY = 86400;

using KeyPtr = std::shared_ptr<EVP_PKEY>;
using CertificatePtr = std::shared_ptr<X509>;

struct Signed
{
    KeyPtr key;
    CertificatePtr x509;
};

/// How a certificate is made; each mistake is one field that is not as it should be.
struct Fields
{
    std::string name = "127.0.0.1";
    std::string alternativeNames = "IP:127.0.0.1,DNS:localhost";
    bool isAuthority = false;
    int pathLength = -1; // none
    int firstDay = -1;
    int lastDay = 30;
    std::string extendedUse;
    std::string nameConstraints;
    bool hasUnknownCritical = false;
    int rsaBits = 0; // 0: P-256
    const EVP_MD* digest = EVP_sha256();
};

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

const char* const NAME_WITH_NUL = "(with NUL)";

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

/// Without an issuer it signs itself.
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

Fields authorityFields(const char* name = "hostile authority")
{
    Fields fields;
    fields.name = name;
    fields.isAuthority = true;
    return fields;
}

Identity identityOf(const Signed& authority, const Signed& server)
{
    return {pemOf(server), keyPemOf(server), pemOf(authority), ""};
}

/// Of a name of its own, as a client may trust several.
Fields anAuthority()
{
    static int count = 0;
    return authorityFields(("hostile authority " + std::to_string(++count)).c_str());
}

Identity issued(const Fields& fields)
{
    const Signed authority = make(nullptr, anAuthority());
    return identityOf(authority, make(&authority, fields));
}

/// A server below an intermediate authority, which it shows.
Identity below(const Fields& rootFields, const Fields& intermediateFields, const Fields& fields = Fields())
{
    const Signed root = make(nullptr, rootFields);
    const Signed intermediate = make(&root, intermediateFields);
    const Signed server = make(&intermediate, fields);
    Identity identity = identityOf(root, server);
    identity.chain += pemOf(intermediate);
    return identity;
}

/// A list that names this certificate, of its issuer's.
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

} // namespace

Identity soundIdentity()
{
    return issued(Fields());
}

Identity selfSignedIdentity()
{
    Identity identity = identityOf(make(nullptr, authorityFields()), make(nullptr, Fields()));
    return identity;
}

Identity unknownIssuerIdentity()
{
    Identity identity = soundIdentity();
    identity.authority = pemOf(make(nullptr, authorityFields("another authority")));
    return identity;
}

Identity expiredIdentity()
{
    Fields fields;
    fields.firstDay = -30;
    fields.lastDay = -1;
    return issued(fields);
}

Identity futureIdentity()
{
    Fields fields;
    fields.firstDay = 1;
    return issued(fields);
}

Identity otherNameIdentity()
{
    Fields fields;
    fields.alternativeNames = "DNS:other.example";
    return issued(fields);
}

Identity otherAddressIdentity()
{
    Fields fields;
    fields.alternativeNames = "IP:127.0.0.2";
    return issued(fields);
}

Identity namedBySubjectIdentity()
{
    Fields fields;
    fields.alternativeNames.clear();
    return issued(fields);
}

Identity nameForAnAddressIdentity()
{
    Fields fields;
    fields.alternativeNames = "DNS:127.0.0.1";
    return issued(fields);
}

Identity wildcardAddressIdentity()
{
    Fields fields;
    fields.alternativeNames = "DNS:*.0.0.1,DNS:*";
    return issued(fields);
}

Identity nulInNameIdentity()
{
    Fields fields;
    fields.alternativeNames = NAME_WITH_NUL;
    return issued(fields);
}

Identity missingIntermediateIdentity()
{
    Identity identity = soundIntermediateIdentity();
    const std::string end = "-----END CERTIFICATE-----\n";
    identity.chain.resize(identity.chain.find(end) + end.size());
    return identity;
}

Identity soundIntermediateIdentity()
{
    return below(authorityFields(), authorityFields("intermediate"));
}

Identity expiredIntermediateIdentity()
{
    Fields fields = authorityFields("intermediate");
    fields.firstDay = -30;
    fields.lastDay = -1;
    return below(authorityFields(), fields);
}

Identity leafAsAuthorityIdentity()
{
    Fields fields;
    fields.name = "a server like any other";
    return below(authorityFields(), fields);
}

Identity pathTooLongIdentity()
{
    Fields root = authorityFields();
    root.pathLength = 0;
    return below(root, authorityFields("intermediate"));
}

Identity constrainedIdentity()
{
    Fields fields = authorityFields("constrained");
    fields.nameConstraints = "critical,permitted;IP:10.0.0.0/255.0.0.0";
    return below(authorityFields(), fields);
}

Identity constrainedOtherwiseIdentity()
{
    Fields fields = authorityFields("constrained");
    fields.nameConstraints = "critical,excluded;DNS:localhost";
    return below(authorityFields(), fields);
}

Identity clientsCertificateIdentity()
{
    Fields fields;
    fields.extendedUse = "clientAuth";
    return issued(fields);
}

Identity unknownCriticalIdentity()
{
    Fields fields;
    fields.hasUnknownCritical = true;
    return issued(fields);
}

Identity revokedIdentity()
{
    const Signed authority = make(nullptr, authorityFields());
    const Signed server = make(&authority, Fields());
    Identity identity = identityOf(authority, server);
    identity.lists = listNaming(&server, authority, 1);
    return identity;
}

Identity expiredListIdentity()
{
    const Signed authority = make(nullptr, authorityFields());
    Identity identity = identityOf(authority, make(&authority, Fields()));
    identity.lists = listNaming(nullptr, authority, -1);
    return identity;
}

Identity shortKeyIdentity()
{
    Fields fields;
    fields.rsaBits = 1024;
    return issued(fields);
}

Identity shortAuthorityKeyIdentity()
{
    Fields fields = authorityFields("short");
    fields.rsaBits = 1024;
    return below(authorityFields(), fields);
}

Identity sha1Identity()
{
    Fields fields;
    fields.digest = EVP_sha1();
    return issued(fields);
}

/// About 60 KiB, which is below what a certificate message may have.
Identity manyNamesIdentity()
{
    Fields fields;
    for (int i = 0; i < 2000; ++i)
    {
        fields.alternativeNames += ",DNS:a-long-name-number-" + std::to_string(i) + ".example";
    }
    return issued(fields);
}

/// More than 100 KiB, which is what OpenSSL takes at most (SSL_CTX_set_max_cert_list).
Identity oversizedChainIdentity()
{
    Identity identity = manyNamesIdentity();
    const std::string once = identity.chain;
    identity.chain += once + once;
    return identity;
}

Identity brokenSignatureIdentity()
{
    const Signed authority = make(nullptr, authorityFields());
    const Signed impostor = make(nullptr, authorityFields());
    return identityOf(authority, make(&impostor, Fields()));
}

} // namespace hostile
