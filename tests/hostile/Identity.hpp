#pragma once

#include <openssl/types.h>

#include <string>

namespace hostile
{

/// What a TLS server shows, and what a client needs to judge it. All PEM.
struct Identity
{
    std::string chain; ///< the server's certificate first
    std::string privateKey;
    std::string authority; ///< what a client trusts
    std::string lists;     ///< revocation lists that it knows
};

/// What the client trusts.
enum ETrust
{
    E_THE_AUTHORITY,       ///< and the revocation lists of the row's identity
    E_SYSTEM,              ///< the system's certificates
    E_NOTHING_IS_VERIFIED, ///< verification is switched off
    E_LISTS_ARE_DEMANDED   ///< the authority, and of every issuer a list among those of the row's identity
};

/// @name Identities
/// @{
Identity soundIdentity();
Identity selfSignedIdentity();
Identity unknownIssuerIdentity();
Identity expiredIdentity();
Identity futureIdentity();
Identity otherNameIdentity();
Identity otherAddressIdentity();
Identity namedBySubjectIdentity();
Identity nameForAnAddressIdentity();
Identity wildcardAddressIdentity();
Identity nulInNameIdentity();
Identity missingIntermediateIdentity();
Identity soundIntermediateIdentity();
Identity expiredIntermediateIdentity();
Identity leafAsAuthorityIdentity();
Identity pathTooLongIdentity();
Identity constrainedIdentity();
Identity constrainedOtherwiseIdentity();
Identity clientsCertificateIdentity();
Identity unknownCriticalIdentity();
Identity revokedIdentity();
Identity expiredListIdentity();
Identity soundListIdentity();
Identity missingListIdentity(); ///< of its intermediate authority
Identity shortKeyIdentity();
Identity shortAuthorityKeyIdentity();
Identity sha1Identity();
Identity manyNamesIdentity();
Identity oversizedChainIdentity();
Identity brokenSignatureIdentity();
/// @}

} // namespace hostile
