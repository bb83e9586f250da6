#include "blocxx/SSLCtxMgr.hpp"

#include "TLSPeers.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <memory>
#include <string>
#include <utility>

using blocxx::SSLClientCtx;
using blocxx::SSLException;
using blocxx::SSLOpts;
using testing::HasSubstr;
using testing::StartsWith;
using zol_test::serverCertificate;
using zol_test::TemporaryDirectory;
using zol_test::testAuthority;

namespace
{

std::string failureOf(const SSLOpts& opts)
{
    try
    {
        const SSLClientCtx context(opts);
    }
    catch (const SSLException& e)
    {
        EXPECT_STREQ(e.type(), "SSLException");
        EXPECT_EQ(e.getSubClassId(), -51);
        EXPECT_EQ(e.getErrorCode(), -1);
        EXPECT_EQ(ERR_peek_error(), 0U);
        return e.getMessage();
    }
    return "made";
}

EVP_PKEY* shareOf(const zol_test::Certificate& certificate)
{
    EVP_PKEY_up_ref(certificate.key.get());
    return certificate.key.get();
}

class SSLClientCtxFiles : public testing::Test
{
protected:
    TemporaryDirectory m_folder;
    const std::string m_certificate = m_folder.write("certificate.pem", serverCertificate().certificatePem());
    const std::string m_key = m_folder.write("key.pem", serverCertificate().keyPem());
    const std::string m_missing = m_folder.file("missing.pem");
    const std::string m_garbage = m_folder.write("garbage.pem", "no certificate, no key\n");
};

} // namespace

TEST(SSLOpts, StartEmptyAndVerifying)
{
    const SSLOpts opts;
    EXPECT_EQ(opts.verifyMode, SSLOpts::MODE_REQUIRED);
    EXPECT_EQ(opts.certfile, "");
    EXPECT_EQ(opts.keyfile, "");
    EXPECT_EQ(opts.trustStore, "");
    EXPECT_TRUE(opts.inMemoryTrustStore.empty());
    EXPECT_EQ(opts.pkey, nullptr);
    EXPECT_EQ(opts.crls, "");
    EXPECT_EQ(opts.minimumVersion, TLS1_2_VERSION);
    EXPECT_EQ(opts.ciphers, "");
    EXPECT_EQ(opts.cipherSuites, "");
    ASSERT_EQ(opts.applicationProtocols.size(), 1U);
    EXPECT_EQ(opts.applicationProtocols[0], "http/1.1");
}

TEST(SSLOpts, CopiesShareTheKey)
{
    auto original = std::make_unique<SSLOpts>();
    original->certfile = "certificate";
    original->keyfile = "key";
    original->trustStore = "trust";
    original->verifyMode = SSLOpts::MODE_DISABLED;
    original->pkey = shareOf(serverCertificate());
    original->inMemoryTrustStore.push_back(testAuthority().x509.get());
    const SSLOpts copy(*original);
    SSLOpts assigned;
    assigned.pkey = shareOf(testAuthority());
    assigned = *original;
    const SSLOpts& self = assigned;
    assigned = self;
    original.reset();
    for (const SSLOpts* opts : {&copy, static_cast<const SSLOpts*>(&assigned)})
    {
        EXPECT_EQ(opts->certfile, "certificate");
        EXPECT_EQ(opts->keyfile, "key");
        EXPECT_EQ(opts->trustStore, "trust");
        EXPECT_EQ(opts->verifyMode, SSLOpts::MODE_DISABLED);
        EXPECT_EQ(opts->inMemoryTrustStore.size(), 1U);
        ASSERT_EQ(opts->pkey, serverCertificate().key.get());
        EXPECT_EQ(EVP_PKEY_get_bits(opts->pkey), 256);
    }
}

TEST(SSLOpts, CopiesHaveTheSameOffer)
{
    SSLOpts original;
    original.crls = "lists";
    original.minimumVersion = TLS1_3_VERSION;
    original.ciphers = "ciphers";
    original.cipherSuites = "suites";
    original.applicationProtocols.push_back("other");
    const SSLOpts copy(original);
    SSLOpts assigned;
    assigned = original;
    for (const SSLOpts* opts : {&copy, static_cast<const SSLOpts*>(&assigned)})
    {
        EXPECT_EQ(opts->crls, "lists");
        EXPECT_EQ(opts->minimumVersion, TLS1_3_VERSION);
        EXPECT_EQ(opts->ciphers, "ciphers");
        EXPECT_EQ(opts->cipherSuites, "suites");
        ASSERT_EQ(opts->applicationProtocols.size(), 2U);
        EXPECT_EQ(opts->applicationProtocols[1], "other");
    }
}

TEST(SSLOpts, TheLastCopyFreesTheKey)
{
    int freed = 0;
    // OpenSSL tells through this that a key goes which has the counter attached.
    const auto count = [](void*, void* counter, CRYPTO_EX_DATA*, int, long, void*) // NOLINT(google-runtime-int)
    {
        if (counter != nullptr)
        {
            ++*static_cast<int*>(counter);
        }
    };
    const int index = CRYPTO_get_ex_new_index(CRYPTO_EX_INDEX_EVP_PKEY, 0, nullptr, nullptr, nullptr, count);
    ASSERT_GE(index, 0);
    {
        SSLOpts opts;
        opts.pkey = EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256");
        ASSERT_NE(opts.pkey, nullptr);
        ASSERT_EQ(EVP_PKEY_set_ex_data(opts.pkey, index, &freed), 1);
        {
            const SSLOpts copy(opts);
        }
        EXPECT_EQ(freed, 0);
    }
    EXPECT_EQ(freed, 1);
}

TEST(SSLClientCtx, AsksForTLS12AtLeastAndForVerification)
{
    const SSLClientCtx context;
    EXPECT_GE(SSL_CTX_get_min_proto_version(context.getSSLCtx()), TLS1_2_VERSION);
    EXPECT_EQ(SSL_CTX_get_verify_mode(context.getSSLCtx()), SSL_VERIFY_PEER);
}

TEST(SSLClientCtx, VerificationIsOffOnlyWhenDisabled)
{
    const std::pair<SSLOpts::VerifyMode_t, int> modes[] = {{SSLOpts::MODE_DISABLED, SSL_VERIFY_NONE},
                                                           {SSLOpts::MODE_REQUIRED, SSL_VERIFY_PEER},
                                                           {SSLOpts::MODE_OPTIONAL, SSL_VERIFY_PEER},
                                                           {SSLOpts::MODE_AUTOUPDATE, SSL_VERIFY_PEER}};
    for (const auto& [mode, expected] : modes)
    {
        SSLOpts opts;
        opts.verifyMode = mode;
        const SSLClientCtx context(opts);
        EXPECT_EQ(SSL_CTX_get_verify_mode(context.getSSLCtx()), expected) << mode;
    }
}

TEST_F(SSLClientCtxFiles, CertificateAndKeyAreLoaded)
{
    SSLOpts opts;
    opts.certfile = m_certificate;
    opts.keyfile = m_key;
    const SSLClientCtx context(opts);
    EXPECT_EQ(SSL_CTX_check_private_key(context.getSSLCtx()), 1);
}

TEST_F(SSLClientCtxFiles, KeyIsLookedForWithTheCertificateWhenNoKeyFileIsNamed)
{
    SSLOpts opts;
    opts.certfile = m_folder.write("both.pem", serverCertificate().keyPem() + serverCertificate().certificatePem());
    const SSLClientCtx context(opts);
    EXPECT_EQ(SSL_CTX_check_private_key(context.getSSLCtx()), 1);
    opts.certfile = m_certificate;
    EXPECT_THAT(failureOf(opts),
                StartsWith("SSLCtxMgr::initCtx(): Couldn't read key from file: " + m_certificate + ": "));
}

TEST_F(SSLClientCtxFiles, KeyInMemoryIsTakenInsteadOfTheFile)
{
    SSLOpts opts;
    opts.certfile = m_certificate;
    opts.keyfile = m_missing;
    opts.pkey = shareOf(serverCertificate());
    const SSLClientCtx context(opts);
    EXPECT_EQ(SSL_CTX_check_private_key(context.getSSLCtx()), 1);
}

TEST_F(SSLClientCtxFiles, UnreadableCertificateIsNamedWithTheReason)
{
    SSLOpts opts;
    opts.certfile = m_missing;
    EXPECT_THAT(failureOf(opts), StartsWith("SSLCtxMgr::initCtx(): Couldn't read certificate from file: " + m_missing +
                                            ": No such file or directory"));
    opts.certfile = m_garbage;
    EXPECT_THAT(failureOf(opts), StartsWith("SSLCtxMgr::initCtx(): Couldn't read certificate from file: " + m_garbage +
                                            ": no start line"));
}

TEST_F(SSLClientCtxFiles, UnreadableKeyIsNamedWithTheReason)
{
    SSLOpts opts;
    opts.certfile = m_certificate;
    opts.keyfile = m_missing;
    EXPECT_THAT(failureOf(opts), StartsWith("SSLCtxMgr::initCtx(): Couldn't read key from file: " + m_missing +
                                            ": No such file or directory"));
    opts.keyfile = m_garbage;
    EXPECT_THAT(failureOf(opts), StartsWith("SSLCtxMgr::initCtx(): Couldn't read key from file: " + m_garbage + ": "));
}

TEST_F(SSLClientCtxFiles, KeyOfAnotherCertificateIsRefused)
{
    SSLOpts opts;
    opts.certfile = m_certificate;
    opts.keyfile = m_folder.write("other.pem", testAuthority().keyPem());
    EXPECT_THAT(failureOf(opts), testing::AllOf(HasSubstr(std::string("file: ") + opts.keyfile.c_str()),
                                                HasSubstr("key values mismatch")));
    opts.pkey = shareOf(testAuthority());
    EXPECT_THAT(failureOf(opts), StartsWith("SSLCtxMgr::initCtx(): Unable to set private key: "));
}

TEST_F(SSLClientCtxFiles, EncryptedKeyIsRefusedWithoutAskingAnybody)
{
    SSLOpts opts;
    opts.certfile = m_certificate;
    opts.keyfile = m_folder.write("encrypted.pem", serverCertificate().encryptedKeyPem("secret"));
    EXPECT_EQ(failureOf(opts),
              "SSLCtxMgr::initCtx(): Couldn't read key from file: " + std::string(opts.keyfile.c_str()) +
                  ": it is encrypted; decrypt it first, or give it in SSLOpts::pkey");
}

TEST_F(SSLClientCtxFiles, KeyWithoutCertificateCountsForNothing)
{
    SSLOpts opts;
    opts.keyfile = m_missing;
    opts.pkey = shareOf(serverCertificate());
    const SSLClientCtx context(opts);
    EXPECT_EQ(SSL_CTX_get0_privatekey(context.getSSLCtx()), nullptr);
}

TEST_F(SSLClientCtxFiles, TrustStoreMustBeReadable)
{
    SSLOpts opts;
    opts.trustStore = m_missing;
    EXPECT_EQ(failureOf(opts), "Error loading truststore " + m_missing + ": No such file or directory");
    opts.trustStore = m_garbage;
    EXPECT_THAT(failureOf(opts), StartsWith("Error loading truststore " + m_garbage + ": "));
}

TEST_F(SSLClientCtxFiles, TrustStoreIsNotReadWithoutVerification)
{
    SSLOpts opts;
    opts.verifyMode = SSLOpts::MODE_DISABLED;
    opts.trustStore = m_missing;
    EXPECT_NO_THROW(SSLClientCtx{opts});
}

TEST_F(SSLClientCtxFiles, RevocationListsMustBeReadable)
{
    const std::string list = zol_test::revocationListPem(testAuthority(), {});
    const std::pair<std::string, std::string> failures[] = {
        {m_missing, "No such file or directory"},
        {m_certificate + "/below", "Not a directory"},
        {m_garbage, "no start line (Expecting: X509 CRL)"},
        {m_certificate, "no start line (Expecting: X509 CRL)"},
        {m_folder.write("empty.pem", ""), "no start line (Expecting: X509 CRL)"},
        {m_folder.write("broken.pem", list + list.substr(0, list.size() / 2)), "bad end line"},
        {m_folder.path().string(), "no revocation list under a hashed name"}};
    for (const auto& [path, reason] : failures)
    {
        SSLOpts opts;
        opts.crls = path;
        EXPECT_THAT(failureOf(opts),
                    testing::AllOf(StartsWith("Error loading revocation lists " + path + ": "), HasSubstr(reason)));
    }
}

TEST_F(SSLClientCtxFiles, EveryRevocationListOfADirectoryMustBeReadable)
{
    const TemporaryDirectory folder;
    folder.write("01234567.r0", zol_test::revocationListPem(testAuthority(), {}));
    SSLOpts opts;
    opts.crls = folder.path().string();
    EXPECT_EQ(failureOf(opts), "made");
    for (const char* name : {"0123456g.r0", "1234567.r0", "012345678.r0", "01234567.r", "01234567.r0a", "01234567.0"})
    {
        folder.write(name, "not read");
    }
    EXPECT_EQ(failureOf(opts), "made");
    const std::string broken = folder.write("89abcdef.r12", "no list");
    EXPECT_THAT(failureOf(opts), StartsWith("Error loading revocation lists " + broken + ": "));
}

TEST_F(SSLClientCtxFiles, RevocationListsAreNotReadWithoutVerification)
{
    SSLOpts opts;
    opts.verifyMode = SSLOpts::MODE_DISABLED;
    opts.crls = m_missing;
    EXPECT_NO_THROW(SSLClientCtx{opts});
}

TEST(SSLClientCtx, NullIsNotATrustedCertificate)
{
    SSLOpts opts;
    opts.inMemoryTrustStore.push_back(nullptr);
    EXPECT_THAT(failureOf(opts), StartsWith("Error adding trusted certificate"));
}

TEST(SSLClientCtx, StaleErrorsOfTheThreadDoNotShowInItsFailures)
{
    ERR_raise(ERR_LIB_USER, ERR_R_INTERNAL_ERROR);
    SSLOpts opts;
    opts.certfile = "/nonexistent";
    EXPECT_THAT(failureOf(opts), testing::Not(HasSubstr("internal error")));
}
