#include "Peers.hpp"
#include "TLSGreeting.hpp"
#include "TLSPeers.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/SSLCtxMgr.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using blocxx::SSLClientCtx;
using blocxx::SSLOpts;
using testing::HasSubstr;
using zol_test::Certificate;
using zol_test::CertificateFields;
using zol_test::ConnectFailure;
using zol_test::hashedName;
using zol_test::revocationListPem;
using zol_test::ScriptedServer;
using zol_test::serverCertificate;
using zol_test::TemporaryDirectory;
using zol_test::testAuthority;

namespace
{

CertificateFields named(const std::string& commonName)
{
    CertificateFields fields;
    fields.commonName = commonName;
    fields.ipAddresses = {"127.0.0.1"};
    return fields;
}

// An authority below the test authority.
const Certificate& middleAuthority()
{
    static const Certificate authority = []
    {
        CertificateFields fields;
        fields.commonName = "middle authority";
        fields.isAuthority = true;
        return zol_test::issue(testAuthority(), fields);
    }();
    return authority;
}

// A server's certificate below that.
const Certificate& lowerCertificate()
{
    static const Certificate certificate = zol_test::issue(middleAuthority(), named("lower"));
    return certificate;
}

Certificate another()
{
    return zol_test::issue(testAuthority(), named("another"));
}

ConnectFailure failureWith(const SSLOpts& opts, const Certificate& certificate, const Certificate& issuer)
{
    ScriptedServer server(zol_test::tlsServer(certificate, issuer), zol_test::greet);
    return zol_test::failureAt(server, new SSLClientCtx(opts));
}

void expectAccepted(const SSLOpts& opts, const Certificate& certificate = serverCertificate(),
                    const Certificate& issuer = testAuthority())
{
    ScriptedServer server(zol_test::tlsServer(certificate, issuer), zol_test::greet);
    EXPECT_EQ(zol_test::greetingOf(server, new SSLClientCtx(opts), "127.0.0.1"), "hello");
}

void expectRefused(const SSLOpts& opts, const std::string& reason, const Certificate& certificate = serverCertificate(),
                   const Certificate& issuer = testAuthority())
{
    const ConnectFailure failure = failureWith(opts, certificate, issuer);
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_THAT(failure.text, HasSubstr(reason));
}

class Revocation : public testing::Test
{
protected:
    /// Trusts what is in the text, and nothing else.
    SSLOpts trusting(const std::string& pem)
    {
        SSLOpts opts;
        opts.trustStore = m_folder.write("trust.pem", pem);
        return opts;
    }

    /// Trusts the test authority, with these lists beside it.
    SSLOpts withLists(const std::string& lists)
    {
        SSLOpts opts = trusting(testAuthority().certificatePem());
        opts.crls = m_folder.write("lists.pem", lists);
        return opts;
    }

    TemporaryDirectory m_folder;
};

using RevocationLists = Revocation;

} // namespace

TEST_F(Revocation, ByAListInTheTrustStoresFileIsSeen)
{
    expectRefused(
        trusting(testAuthority().certificatePem() + revocationListPem(testAuthority(), {serverCertificate()})),
        "certificate revoked");
}

TEST_F(Revocation, ByAListInTheTrustStoresDirectoryIsSeen)
{
    m_folder.write(hashedName(testAuthority(), ".0"), testAuthority().certificatePem());
    m_folder.write(hashedName(testAuthority(), ".r0"), revocationListPem(testAuthority(), {serverCertificate()}));
    SSLOpts opts;
    opts.trustStore = m_folder.path().string();
    expectRefused(opts, "certificate revoked");
}

TEST_F(Revocation, OfAnotherCertificateDoesNotMatter)
{
    expectAccepted(trusting(testAuthority().certificatePem() + revocationListPem(testAuthority(), {another()})));
}

TEST_F(Revocation, IsNotAskedForWhereNoListIsGiven)
{
    expectAccepted(trusting(testAuthority().certificatePem()));
}

TEST_F(Revocation, ByAListThatHasExpiredIsAFailure)
{
    const SSLOpts opts =
        trusting(testAuthority().certificatePem() + revocationListPem(testAuthority(), {another()}, -1));
    expectRefused(opts, "CRL has expired; check this machine's clock, or get a newer revocation list");
}

TEST_F(Revocation, InTheTrustStoreIsAppliedToWhatItMatchesOnly)
{
    const std::string root = testAuthority().certificatePem();
    expectAccepted(trusting(root + revocationListPem(middleAuthority(), {})), lowerCertificate(), middleAuthority());
    expectRefused(trusting(root + revocationListPem(middleAuthority(), {lowerCertificate()})), "certificate revoked",
                  lowerCertificate(), middleAuthority());
}

TEST_F(RevocationLists, OfAFileAreApplied)
{
    expectRefused(withLists(revocationListPem(testAuthority(), {another(), serverCertificate()})),
                  "certificate revoked");
    expectAccepted(withLists(revocationListPem(testAuthority(), {another()})));
}

TEST_F(RevocationLists, OfADirectoryAreApplied)
{
    TemporaryDirectory lists;
    lists.write(hashedName(middleAuthority(), ".r0"), revocationListPem(middleAuthority(), {}));
    lists.write(hashedName(testAuthority(), ".r0"), revocationListPem(testAuthority(), {another()}));
    lists.write("README", "no list");
    SSLOpts opts = trusting(testAuthority().certificatePem());
    opts.crls = lists.path().string();
    expectAccepted(opts);
    expectAccepted(opts, lowerCertificate(), middleAuthority());
    lists.write(hashedName(testAuthority(), ".r0"), revocationListPem(testAuthority(), {serverCertificate()}));
    expectRefused(opts, "certificate revoked");
}

TEST_F(RevocationLists, OfAnIntermediateAuthorityAreApplied)
{
    const std::string middles = revocationListPem(middleAuthority(), {});
    expectRefused(withLists(middles + revocationListPem(testAuthority(), {middleAuthority()})), "certificate revoked",
                  lowerCertificate(), middleAuthority());
    expectRefused(
        withLists(revocationListPem(middleAuthority(), {lowerCertificate()}) + revocationListPem(testAuthority(), {})),
        "certificate revoked", lowerCertificate(), middleAuthority());
}

TEST_F(RevocationLists, AreNeededOfEveryIssuerInTheChain)
{
    const std::string roots = revocationListPem(testAuthority(), {});
    const std::string middles = revocationListPem(middleAuthority(), {});
    const std::string reason =
        "unable to get certificate CRL; every issuer in its chain needs a revocation list in SSLOpts::crls";
    expectAccepted(withLists(roots + middles), lowerCertificate(), middleAuthority());
    expectRefused(withLists(roots), reason, lowerCertificate(), middleAuthority());
    expectRefused(withLists(middles), reason, lowerCertificate(), middleAuthority());
    expectRefused(withLists(middles), reason);
}

TEST_F(RevocationLists, ThatHaveExpiredRefuse)
{
    expectRefused(withLists(revocationListPem(testAuthority(), {another()}, -1)), "CRL has expired");
    expectRefused(withLists(revocationListPem(middleAuthority(), {}) + revocationListPem(testAuthority(), {}, -1)),
                  "CRL has expired", lowerCertificate(), middleAuthority());
}

TEST_F(RevocationLists, GiveWayToNewerOnes)
{
    expectAccepted(withLists(revocationListPem(testAuthority(), {}, -1) + revocationListPem(testAuthority(), {}, 5)));
}

TEST_F(RevocationLists, MayBeInTheTrustStoreInPart)
{
    SSLOpts opts = trusting(testAuthority().certificatePem() + revocationListPem(testAuthority(), {}));
    opts.crls = m_folder.write("lists.pem", revocationListPem(middleAuthority(), {}));
    expectAccepted(opts, lowerCertificate(), middleAuthority());
}

TEST_F(RevocationLists, OfAForgerRefuse)
{
    const Certificate forger = zol_test::makeAuthority();
    expectRefused(withLists(revocationListPem(forger, {}, 1, false)), "CRL signature failure");
    expectRefused(withLists(revocationListPem(forger, {}, 1, true)), "unable to get certificate CRL");
}

TEST_F(RevocationLists, MakeNothingTrustedThatLiesBesideThem)
{
    const Certificate stranger = zol_test::makeAuthority("stranger");
    const Certificate certificate = zol_test::issue(stranger, named("strange"));
    const std::string lists = revocationListPem(stranger, {}) + revocationListPem(testAuthority(), {});
    const std::string reason = "self-signed certificate in certificate chain";
    expectRefused(withLists(stranger.certificatePem() + lists), reason, certificate, stranger);

    TemporaryDirectory folder;
    folder.write(hashedName(stranger, ".0"), stranger.certificatePem());
    folder.write(hashedName(stranger, ".r0"), stranger.certificatePem() + lists);
    SSLOpts opts = trusting(testAuthority().certificatePem());
    opts.crls = folder.path().string();
    expectRefused(opts, reason, certificate, stranger);
}

TEST_F(RevocationLists, AreNotNeededOfTheIssuerOfATrustedCertificate)
{
    const std::string roots = revocationListPem(testAuthority(), {});
    const std::string middles = revocationListPem(middleAuthority(), {});
    const Certificate own = zol_test::selfSigned(named("own"));
    SSLOpts opts = trusting(own.certificatePem());
    opts.crls = m_folder.write("lists.pem", roots);
    expectAccepted(opts, own, own);
    opts = trusting(middleAuthority().certificatePem());
    opts.crls = m_folder.write("lists.pem", middles);
    expectAccepted(opts, lowerCertificate(), middleAuthority());
    for (const bool namesKey : {true, false})
    {
        const std::string lists = revocationListPem(testAuthority(), {another()}, 1, namesKey) + middles;
        opts.crls = m_folder.write("lists.pem", lists);
        expectAccepted(opts, lowerCertificate(), middleAuthority());
        expectAccepted(trusting(middleAuthority().certificatePem() + lists), lowerCertificate(), middleAuthority());
    }
    opts.trustStore = m_folder.write("trust.pem", middleAuthority().certificatePem());
    opts.crls = m_folder.write("lists.pem", roots);
    expectRefused(opts, "unable to get certificate CRL", lowerCertificate(), middleAuthority());
}
