#include "support/Certificates.hpp"

#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <stdexcept>

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

std::string alternativeNames(const CertificateFields& fields)
{
    std::string names;
    const auto append = [&names](const char* kind, const std::string& name)
    { names += (names.empty() ? "" : ",") + std::string(kind) + ":" + name; };
    for (const std::string& name : fields.dnsNames)
    {
        append("DNS", name);
    }
    for (const std::string& address : fields.ipAddresses)
    {
        append("IP", address);
    }
    return names;
}

// Without an issuer the certificate signs itself.
Certificate make(const Certificate* issuer, const CertificateFields& fields, bool isAuthority)
{
    static std::atomic<long> serial{1};
    Certificate made;
    made.key.reset(EVP_EC_gen("P-256"), ::EVP_PKEY_free);
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
    addExtension(x509, signer.x509.get(), NID_basic_constraints,
                 isAuthority ? "critical,CA:TRUE" : "critical,CA:FALSE");
    addExtension(x509, signer.x509.get(), NID_subject_key_identifier, "hash");
    if (isAuthority)
    {
        addExtension(x509, signer.x509.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    }
    else if (const std::string names = alternativeNames(fields); !names.empty())
    {
        addExtension(x509, signer.x509.get(), NID_subject_alt_name, names);
    }
    require(X509_sign(x509, signer.key.get(), EVP_sha256()) > 0, "signature");
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
    return make(nullptr, fields, true);
}

Certificate issue(const Certificate& authority, const CertificateFields& fields)
{
    return make(&authority, fields, false);
}

Certificate selfSigned(const CertificateFields& fields)
{
    return make(nullptr, fields, false);
}

} // namespace zol_test
