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

/// The fields of a certificate. Days count from now; negative ones lie in the past. Extensions are written as
/// OpenSSL's configuration has them; an empty one is left out.
struct CertificateFields
{
    std::string commonName = "test";
    std::vector<std::string> dnsNames;    ///< of any bytes
    std::vector<std::string> ipAddresses; ///< "127.0.0.1", "::1"
    int validFromDays = -1;
    int validToDays = 30;
    bool isAuthority = false;     ///< it may sign others
    int pathLength = -1;          ///< how many authorities may stand below this one; negative for any number
    std::string nameConstraints;  ///< "permitted;DNS:example"
    std::string extendedKeyUsage; ///< "serverAuth"
    std::string comment;          ///< of any length
    int rsaBits = 0;              ///< of an RSA key; 0 for an elliptic curve
    const char* digest = "SHA256";
};

/// A self-signed certificate that may sign others.
Certificate makeAuthority(const std::string& commonName = "test authority");
Certificate makeAuthority(CertificateFields fields);

/// A certificate signed by the authority. Throws `std::runtime_error` when OpenSSL refuses the fields.
Certificate issue(const Certificate& authority, const CertificateFields& fields);

/// A server's certificate signed with its own key.
Certificate selfSigned(const CertificateFields& fields);

/// A revocation list of the authority, in PEM, which was made 10 days ago. It bears the identifier of the key that has
/// signed it, unless that is to be left out.
std::string revocationListPem(const Certificate& authority, const std::vector<Certificate>& revoked,
                              int expiresInDays = 1, bool namesKey = true);

/// The name under which OpenSSL looks for what belongs to a subject in a directory, such as "01234567.r0" with the
/// ending ".r0".
std::string hashedName(const Certificate& subject, const std::string& ending);

} // namespace zol_test
