#include "Peers.hpp"
#include "TLSPeers.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <memory>
#include <string>

using blocxx::Socket;
using blocxx::SSLClientCtx;
using blocxx::SSLOpts;
using testing::HasSubstr;
using zol_test::Certificate;
using zol_test::ConnectFailure;
using zol_test::connectFailure;
using zol_test::loopback;
using zol_test::readUpTo;
using zol_test::ScriptedServer;
using zol_test::serverCertificate;
using zol_test::ServerConnection;
using zol_test::TemporaryDirectory;
using zol_test::testAuthority;
using zol_test::tlsServer;

namespace
{

// A revocation list of the test authority, in PEM; it expires `days` from now.
std::string revocationList(const Certificate& revoked, int days = 1)
{
    const std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)> list(X509_CRL_new(), X509_CRL_free);
    X509_CRL_set_version(list.get(), X509_CRL_VERSION_2);
    X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(testAuthority().x509.get()));
    const std::unique_ptr<ASN1_TIME, decltype(&ASN1_TIME_free)> moment(ASN1_TIME_new(), ASN1_TIME_free);
    X509_gmtime_adj(moment.get(), -10L * 24 * 3600);
    X509_CRL_set1_lastUpdate(list.get(), moment.get());
    X509_REVOKED* const entry = X509_REVOKED_new();
    X509_REVOKED_set_serialNumber(entry, X509_get_serialNumber(revoked.x509.get()));
    X509_REVOKED_set_revocationDate(entry, moment.get());
    X509_CRL_add0_revoked(list.get(), entry);
    X509_gmtime_adj(moment.get(), days * 24L * 3600);
    X509_CRL_set1_nextUpdate(list.get(), moment.get());
    X509_CRL_sign(list.get(), testAuthority().key.get(), EVP_sha256());
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> memory(BIO_new(BIO_s_mem()), BIO_free_all);
    PEM_write_bio_X509_CRL(memory.get(), list.get());
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(length)};
}

Certificate another()
{
    zol_test::CertificateFields fields;
    fields.ipAddresses = {"127.0.0.1"};
    return zol_test::issue(testAuthority(), fields);
}

class Revocation : public testing::Test
{
protected:
    blocxx::SSLClientCtxRef trusting(const std::string& pem)
    {
        SSLOpts opts;
        opts.trustStore = m_folder.write("trust.pem", pem);
        return new SSLClientCtx(opts);
    }

    void expectAccepted(const blocxx::SSLClientCtxRef& context)
    {
        Socket socket(context);
        socket.connect(loopback(m_server.port()));
        EXPECT_EQ(readUpTo(socket, 5), "hello");
    }

    void expectRefused(const blocxx::SSLClientCtxRef& context, const std::string& reason)
    {
        Socket socket(context);
        const ConnectFailure failure = connectFailure(socket, loopback(m_server.port()));
        EXPECT_EQ(failure.type, "SSLException");
        EXPECT_THAT(failure.text, HasSubstr(reason));
        m_server.errors();
    }

    TemporaryDirectory m_folder;
    ScriptedServer m_server{tlsServer(), [](ServerConnection& connection) { connection.send("hello"); }};
};

} // namespace

TEST_F(Revocation, ByAListInTheTrustStoresFileIsSeen)
{
    expectRefused(trusting(testAuthority().certificatePem() + revocationList(serverCertificate())),
                  "certificate revoked");
}

TEST_F(Revocation, ByAListInTheTrustStoresDirectoryIsSeen)
{
    const unsigned long hash =
        X509_NAME_hash_ex(X509_get_subject_name(testAuthority().x509.get()), nullptr, nullptr, nullptr);
    char name[32];
    std::snprintf(name, sizeof name, "%08lx.0", hash);
    m_folder.write(name, testAuthority().certificatePem());
    std::snprintf(name, sizeof name, "%08lx.r0", hash);
    m_folder.write(name, revocationList(serverCertificate()));
    SSLOpts opts;
    opts.trustStore = m_folder.path().string();
    expectRefused(new SSLClientCtx(opts), "certificate revoked");
}

TEST_F(Revocation, OfAnotherCertificateDoesNotMatter)
{
    expectAccepted(trusting(testAuthority().certificatePem() + revocationList(another())));
}

TEST_F(Revocation, IsNotAskedForWhereNoListIsGiven)
{
    expectAccepted(trusting(testAuthority().certificatePem()));
}

TEST_F(Revocation, ByAListThatHasExpiredIsAFailure)
{
    expectRefused(trusting(testAuthority().certificatePem() + revocationList(another(), -1)), "CRL has expired");
}
