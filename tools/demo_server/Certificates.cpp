#include "Certificates.hpp"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <fcntl.h>

#include <cerrno>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <system_error>

namespace demo
{

namespace
{

using ExtensionPtr = std::unique_ptr<X509_EXTENSION, Release<X509_EXTENSION_free>>;
using NumberPtr = std::unique_ptr<BIGNUM, Release<BN_free>>;

constexpr long CLOCK_SKEW_SECONDS = 60L * 60;
constexpr long LIFETIME_SECONDS = 24L * 60 * 60;
constexpr int SERIAL_BITS = 127;

[[noreturn]] void fail(const std::string& what)
{
    char reason[256];
    ERR_error_string_n(ERR_get_error(), reason, sizeof(reason));
    throw std::runtime_error(what + ": " + reason);
}

void require(bool succeeded, const char* what)
{
    if (!succeeded)
    {
        fail(what);
    }
}

struct Extension
{
    int kind;
    const char* value;
};

void setSerialNumber(X509* certificate)
{
    const NumberPtr number(BN_new());
    require(number && BN_rand(number.get(), SERIAL_BITS, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1 &&
                BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
            "cannot choose a serial number");
}

/// Issues a certificate of the given name; without an issuer it signs itself.
Identity issue(const char* commonName, const Identity* issuer, std::initializer_list<Extension> extensions)
{
    Identity issued{KeyPtr(EVP_EC_gen("P-256")), CertificatePtr(X509_new())};
    require(issued.key && issued.certificate, "cannot make a key");
    X509* const certificate = issued.certificate.get();
    X509* const issuing = issuer != nullptr ? issuer->certificate.get() : certificate;

    X509_set_version(certificate, X509_VERSION_3);
    setSerialNumber(certificate);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -CLOCK_SKEW_SECONDS);
    X509_gmtime_adj(X509_getm_notAfter(certificate), LIFETIME_SECONDS);
    X509_set_pubkey(certificate, issued.key.get());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(commonName), -1, -1, 0);
    X509_set_issuer_name(certificate, X509_get_subject_name(issuing));

    X509V3_CTX context;
    X509V3_set_ctx(&context, issuing, certificate, nullptr, nullptr, 0);
    for (const Extension& wanted : extensions)
    {
        const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, wanted.kind, wanted.value));
        require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "cannot add an extension");
    }
    EVP_PKEY* const signingKey = issuer != nullptr ? issuer->key.get() : issued.key.get();
    require(X509_sign(certificate, signingKey, EVP_sha256()) != 0, "cannot sign a certificate");
    return issued;
}

void writeCertificate(const BioPtr& file, X509* certificate)
{
    require(file && PEM_write_bio_X509(file.get(), certificate) == 1, "cannot write a certificate");
}

void writeKey(const BioPtr& file, EVP_PKEY* key)
{
    require(file && PEM_write_bio_PrivateKey(file.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "cannot write a private key");
}

} // namespace

TemporaryFiles::TemporaryFiles(const std::filesystem::path& folder)
    : m_folder(folder), m_madeFolder(std::filesystem::create_directories(folder))
{
}

TemporaryFiles::~TemporaryFiles()
{
    std::error_code ignored;
    for (const std::filesystem::path& file : m_files)
    {
        std::filesystem::remove(file, ignored);
    }
    if (m_madeFolder)
    {
        std::filesystem::remove(m_folder, ignored);
    }
}

BioPtr TemporaryFiles::create(const char* name, mode_t mode)
{
    const std::filesystem::path path = m_folder / name;
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor < 0)
    {
        throw std::system_error(errno, std::generic_category(), "cannot create " + path.string());
    }
    m_files.push_back(path);
    return BioPtr(BIO_new_fd(descriptor, BIO_CLOSE));
}

Certificates::Certificates(const std::filesystem::path& folder)
    : m_folder(folder), m_files(folder), m_authority(issue("Demo authority", nullptr,
                                                           {{NID_basic_constraints, "critical,CA:TRUE"},
                                                            {NID_key_usage, "critical,keyCertSign,cRLSign"},
                                                            {NID_subject_key_identifier, "hash"}})),
      m_server(issue("localhost", &m_authority,
                     {{NID_basic_constraints, "critical,CA:FALSE"},
                      {NID_ext_key_usage, "serverAuth"},
                      {NID_authority_key_identifier, "keyid"},
                      {NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1"}}))
{
    const Identity client = issue("demo client", &m_authority,
                                  {{NID_basic_constraints, "critical,CA:FALSE"},
                                   {NID_ext_key_usage, "clientAuth"},
                                   {NID_authority_key_identifier, "keyid"}});
    writeCertificate(m_files.create(AUTHORITY_FILE, 0644), m_authority.certificate.get());
    writeCertificate(m_files.create("client.pem", 0644), client.certificate.get());
    writeKey(m_files.create("client-key.pem", 0600), client.key.get());
}

ContextPtr Certificates::makeServerContext() const
{
    ContextPtr context(SSL_CTX_new(TLS_server_method()));
    require(context && SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) == 1 &&
                SSL_CTX_use_certificate(context.get(), m_server.certificate.get()) == 1 &&
                SSL_CTX_use_PrivateKey(context.get(), m_server.key.get()) == 1 &&
                X509_STORE_add_cert(SSL_CTX_get_cert_store(context.get()), m_authority.certificate.get()) == 1,
            "cannot set the server up for TLS");
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    static const unsigned char sessionName[] = "demo_server";
    SSL_CTX_set_session_id_context(context.get(), sessionName, sizeof(sessionName) - 1);
    return context;
}

} // namespace demo
