#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <vector>

namespace zol_test
{

/// An X.509 certificate with its private key, made by the test that uses it.
struct Certificate
{
    std::shared_ptr<EVP_PKEY> key;
    std::shared_ptr<X509> x509;

    std::string certificatePem() const;
    std::string keyPem() const;

    /// The key under a pass phrase (PKCS #8).
    std::string encryptedKeyPem(const std::string& passPhrase) const;
};

/// The fields of a certificate. Days count from now; negative ones lie in the past.
struct CertificateFields
{
    std::string commonName = "test";
    std::vector<std::string> dnsNames;
    std::vector<std::string> ipAddresses; ///< "127.0.0.1", "::1"
    int validFromDays = -1;
    int validToDays = 30;
};

/// A self-signed certificate that may sign others.
Certificate makeAuthority(const std::string& commonName = "test authority");

/// A certificate signed by the authority. Throws `std::runtime_error` when OpenSSL refuses the fields.
Certificate issue(const Certificate& authority, const CertificateFields& fields);

/// A server's certificate signed with its own key.
Certificate selfSigned(const CertificateFields& fields);

} // namespace zol_test
