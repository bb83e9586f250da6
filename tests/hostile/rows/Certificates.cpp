#include "Shorthand.hpp"

#include <openssl/ssl.h>

namespace hostile
{

namespace
{

const std::string WHOLE = OK + "Content-Length: 5\r\n\r\nhello";

/// A certificate that is refused, with what the message says of it.
Row refused(const char* name, const char* what, Identity (*identity)(), const char* words)
{
    return Row(name, what, responds(WHOLE), fails(X::E_TLS, X::E_ERROR).saying(words),
               throws("SSLException", -1, words))
        .tls(identity);
}

Row accepted(const char* name, const char* what, Identity (*identity)())
{
    return Row(name, what, responds(WHOLE), gives(200, "hello"), returns(200, "hello")).tls(identity);
}

/// One that OpenSSL would not let a server use.
Row weak(const char* name, const char* what, Identity (*identity)(), const char* words)
{
    return Row(name, what, {handshake(TLS1_3_VERSION, E_BEHIND_FINISHED), request(), send(WHOLE)},
               fails(X::E_TLS, X::E_ERROR).saying(words), throws("SSLException", -1, words))
        .rawTls(identity);
}

} // namespace

std::vector<Row> certificateRows()
{
    return {
        accepted("CertificateSound", "shows a sound certificate", &soundIdentity),
        accepted("CertificateBelowAnIntermediate", "shows a certificate and the authority above it",
                 &soundIntermediateIdentity),
        accepted("CertificateOfManyNames", "shows a certificate of 60 KiB", &manyNamesIdentity),
        refused("CertificateSelfSigned", "shows a certificate that it has signed itself", &selfSignedIdentity,
                "self-signed certificate"),
        refused("CertificateOfAnUnknownIssuer", "shows a certificate of an authority that nobody knows",
                &unknownIssuerIdentity, "unable to get local issuer certificate"),
        Row("CertificateOfNoSystemAuthority", "shows a certificate that the system's authorities have not signed",
            responds(WHOLE), fails(X::E_TLS, X::E_ERROR), throws("SSLException", -1, "certificate verify failed"))
            .tls(&soundIdentity)
            .trusting(E_SYSTEM),
        Row("CertificateNotVerified", "shows an expired certificate where nothing is verified", responds(WHOLE),
            gives(200, "hello"), returns(200, "hello"))
            .tls(&expiredIdentity)
            .trusting(E_NOTHING_IS_VERIFIED),
        refused("CertificateOfABrokenSignature", "shows a certificate signed by a namesake of the authority",
                &brokenSignatureIdentity, "signature"),
        refused("CertificateExpired", "shows a certificate that has expired", &expiredIdentity, "expired"),
        refused("CertificateNotYetValid", "shows a certificate of tomorrow", &futureIdentity, "not yet valid"),
        refused("CertificateOfAnotherName", "shows a certificate for another name", &otherNameIdentity, "mismatch"),
        refused("CertificateOfAnotherAddress", "shows a certificate for another address", &otherAddressIdentity,
                "IP address mismatch"),
        refused("CertificateNamedBySubject", "shows a certificate that names the address as its subject alone",
                &namedBySubjectIdentity, "mismatch"),
        refused("CertificateWithTheAddressAsAName", "shows a certificate that has the address among its names",
                &nameForAnAddressIdentity, "mismatch"),
        refused("CertificateWithWildcards", "shows a certificate with wildcards for an address",
                &wildcardAddressIdentity, "mismatch"),
        refused("CertificateWithNulInItsName", "shows a certificate for localhost, a NUL and another name",
                &nulInNameIdentity, "mismatch")
            .host("localhost"),
        refused("CertificateWithoutItsIntermediate", "leaves out the authority above its certificate",
                &missingIntermediateIdentity, "unable to get local issuer certificate"),
        refused("CertificateBelowAnExpiredOne", "shows a certificate below an expired authority",
                &expiredIntermediateIdentity, "expired"),
        refused("CertificateBelowAServers", "shows a certificate that another server has signed",
                &leafAsAuthorityIdentity, "invalid CA certificate"),
        refused("CertificateBelowTooMany", "shows a longer chain than the authority allows", &pathTooLongIdentity,
                "path length constraint exceeded"),
        refused("CertificateOutsideItsConstraint", "shows a certificate that its authority may not sign",
                &constrainedIdentity, "permitted subtree violation"),
        refused("CertificateInAnExcludedTree", "shows a certificate for a name that its authority excludes",
                &constrainedOtherwiseIdentity, "excluded subtree violation"),
        refused("CertificateOfAClient", "shows a certificate for clients", &clientsCertificateIdentity, "purpose"),
        refused("CertificateWithAnUnknownDemand", "shows a certificate with a critical extension that nobody knows",
                &unknownCriticalIdentity, "unhandled critical extension"),
        refused("CertificateRevoked", "shows a certificate that is on a list in the trust store", &revokedIdentity,
                "certificate revoked"),
        refused("CertificateWithAnExpiredList", "shows a certificate whose issuer's list has expired",
                &expiredListIdentity, "CRL has expired"),
        accepted("CertificateWithItsDemandedList", "shows a certificate that its issuer's list does not name",
                 &soundListIdentity)
            .trusting(E_LISTS_ARE_DEMANDED),
        refused("CertificateRevokedOnADemandedList", "shows a certificate that its issuer's list names",
                &revokedIdentity, "certificate revoked")
            .trusting(E_LISTS_ARE_DEMANDED),
        refused("CertificateWithAnExpiredDemandedList", "shows a certificate whose issuer's list has expired",
                &expiredListIdentity, "CRL has expired")
            .trusting(E_LISTS_ARE_DEMANDED),
        refused("CertificateWithoutItsDemandedList", "shows a certificate of an issuer without a list",
                &missingListIdentity, "unable to get certificate CRL")
            .trusting(E_LISTS_ARE_DEMANDED),
        weak("CertificateOfAShortKey", "shows a certificate with an RSA key of 1024 bits", &shortKeyIdentity,
             "key too weak"),
        weak("CertificateBelowAShortKey", "shows a certificate below an authority with a key of 1024 bits",
             &shortAuthorityKeyIdentity, "key too weak"),
        weak("CertificateOfSha1", "shows a certificate signed with SHA-1", &sha1Identity, "digest algorithm too weak"),
        weak("CertificateChainTooLarge", "shows certificates of 180 KiB", &oversizedChainIdentity,
             "excessive message size"),
    };
}

} // namespace hostile
