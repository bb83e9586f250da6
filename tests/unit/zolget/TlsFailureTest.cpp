#include "TlsFailure.hpp"

#include <gtest/gtest.h>

using zolget::describeContextFailure;
using zolget::describeHandshakeFailure;
using zolget::describeSessionFailure;
using zolget::isTlsAlert;

TEST(TlsFailure, NamesTheOptionThatTrustsAnIssuer)
{
    EXPECT_EQ(describeHandshakeFailure("certificate verify failed for host: unable to get local issuer certificate; to "
                                       "trust its issuer, name it in SSLOpts::trustStore or "
                                       "SSLOpts::inMemoryTrustStore"),
              "certificate verify failed for host: unable to get local issuer certificate; --ca PATH trusts the "
              "certificate authorities in PATH");
}

TEST(TlsFailure, KeepsAdviceThatNamesNoApi)
{
    for (const char* text : {"Hostname mismatch; ask for the host by a name that its certificate carries",
                             "certificate has expired; check this machine's clock", "wrong version number"})
    {
        EXPECT_EQ(describeHandshakeFailure(text), text);
    }
}

TEST(TlsFailure, GivesNoAdviceAgainstVerification)
{
    EXPECT_EQ(describeHandshakeFailure("certificate revoked; only SSLOpts::MODE_DISABLED accepts a certificate that "
                                       "cannot be verified"),
              "certificate revoked");
}

TEST(TlsFailure, NamesTheOptionOfRevocationLists)
{
    EXPECT_EQ(describeHandshakeFailure("certificate verify failed for host: unable to get certificate CRL; every "
                                       "issuer in its chain needs a revocation list in SSLOpts::crls"),
              "certificate verify failed for host: unable to get certificate CRL; every issuer in its chain needs a "
              "revocation list in what --crl names");
    EXPECT_EQ(describeContextFailure("Error loading revocation lists l: no start line"),
              "Error loading revocation lists l: no start line; --crl takes revocation lists in PEM form");
}

TEST(TlsFailure, NamesTheOptionsOfTheOffer)
{
    EXPECT_EQ(describeContextFailure("SSLCtxMgr::initCtx(): SSLOpts::ciphers: unknown: \"X\""),
              "--ciphers: unknown: \"X\"");
    EXPECT_EQ(describeContextFailure("SSLCtxMgr::initCtx(): SSLOpts::cipherSuites: unknown: \"X\""),
              "--tls13-ciphers: unknown: \"X\"");
    EXPECT_EQ(describeContextFailure("SSLCtxMgr::initCtx(): SSLOpts::minimumVersion: not allowed"),
              "--tls-min: not allowed");
}

TEST(TlsFailure, LeavesOutTheNamesOfFunctions)
{
    EXPECT_EQ(describeContextFailure("SSLCtxMgr::initCtx(): Couldn't read certificate from file: c.pem: no start line"),
              "Couldn't read certificate from file: c.pem: no start line; --cert takes a certificate in PEM form");
    EXPECT_EQ(describeHandshakeFailure("a text with a call in it(): x"), "a text with a call in it(): x");
}

TEST(TlsFailure, AdvisesByTheCauseOfAContextFailure)
{
    EXPECT_EQ(
        describeContextFailure("Couldn't read key from file: k.pem: it is encrypted; decrypt it first, or give it "
                               "in SSLOpts::pkey"),
        "Couldn't read key from file: k.pem: it is encrypted; remove the pass phrase from the key first");
    EXPECT_EQ(describeContextFailure("Couldn't read key from file: c.pem: unsupported"),
              "Couldn't read key from file: c.pem: unsupported; --key takes the file of the private key, in PEM form "
              "(default: the file given with --cert)");
    EXPECT_EQ(describeContextFailure("Error loading truststore t: no certificate or crl found"),
              "Error loading truststore t: no certificate or crl found; --ca takes certificates in PEM form");
    EXPECT_EQ(describeContextFailure("out of memory"), "out of memory");
    EXPECT_EQ(describeContextFailure("Couldn't read key from file: k.pem: key values mismatch"),
              "Couldn't read key from file: k.pem: key values mismatch; --key takes the private key of the certificate "
              "given with --cert");
}

TEST(TlsFailure, NamesTheOptionsThatSendACertificate)
{
    EXPECT_EQ(describeSessionFailure("tlsv13 alert certificate required"),
              "tlsv13 alert certificate required; --cert and --key send a client certificate");
    EXPECT_EQ(describeSessionFailure("unexpected eof while reading"), "unexpected eof while reading");
}

TEST(TlsFailure, TellsAlertsFromOtherFailures)
{
    EXPECT_TRUE(isTlsAlert("tlsv1 alert unknown ca"));
    EXPECT_FALSE(isTlsAlert("unexpected eof while reading"));
    EXPECT_FALSE(isTlsAlert(""));
}
