#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

/// @file
/// Certificates and revocation lists with one thing in them that is not as it should be.

namespace hostile
{

using KeyPtr = std::shared_ptr<EVP_PKEY>;
using CertificatePtr = std::shared_ptr<X509>;

/// A certificate and its key.
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

/// An alternative name, of DNS, that holds a NUL: "localhost", NUL, ".example.com".
inline constexpr const char* NAME_WITH_NUL = "(with NUL)";

/// Without an issuer it signs itself.
Signed make(const Signed* issuer, const Fields& fields);

/// @name PEM
/// @{
std::string pemOf(const Signed& certificate);
std::string keyPemOf(const Signed& certificate);
/// A revocation list of that authority, which names this certificate, if it is given.
std::string listNaming(const Signed* revoked, const Signed& authority, int lastDay);
/// @}

} // namespace hostile
