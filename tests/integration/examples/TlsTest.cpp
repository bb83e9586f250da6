#include "Example.hpp"
#include "support/Certificates.hpp"
#include "support/NginxServer.hpp"
#include "support/StandaloneServers.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <string>

namespace
{

using namespace examples_test;
using testing::HasSubstr;
using namespace zol_test;

class ExamplesOverTls : public testing::Test
{
protected:
    static CertificateFields loopback()
    {
        CertificateFields fields;
        fields.commonName = "a server";
        fields.ipAddresses = {"127.0.0.1"};
        return fields;
    }

    std::string write(const std::string& name, const std::string& pem) const { return m_folder.write(name, pem); }

    const TemporaryDirectory m_folder;
    const Certificate m_authority = makeAuthority("a private authority");
    const std::string m_trusted = write("authority.pem", m_authority.certificatePem());
    const Certificate m_own = issue(m_authority, loopback());
};

TEST_F(ExamplesOverTls, FetchTrustingTrustsThePrivateAuthority)
{
    const OpensslServer server(m_own);
    const std::string url = "https://127.0.0.1:" + std::to_string(server.port()) + "/page.txt";
    const Outcome outcome = run("fetch_trusting", {url, m_trusted});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, "served by openssl\n");
    EXPECT_EQ(outcome.errors, "TLSv1.3, certificate of CN=a server by CN=a private authority\n");
}

TEST_F(ExamplesOverTls, FetchTrustingRefusesAnotherAuthority)
{
    const OpensslServer server(m_own);
    const std::string url = "https://127.0.0.1:" + std::to_string(server.port()) + "/page.txt";
    const Outcome outcome = run("fetch_trusting", {url, write("other.pem", makeAuthority().certificatePem())});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, HasSubstr("unable to get local issuer certificate"));
}

TEST_F(ExamplesOverTls, FetchTrustingNeedsHttpsAndAnAuthority)
{
    EXPECT_EQ(run("fetch_trusting", {"http://127.0.0.1/", m_trusted}).errors,
              "fetch_trusting: this is not an https URL\n");
    EXPECT_THAT(run("fetch_trusting", {"https://127.0.0.1/", "/nonexistent.pem"}).errors,
                HasSubstr("/nonexistent.pem"));
}

TEST_F(ExamplesOverTls, FetchWithCertificateIsKnownToTheServer)
{
    const Certificate clients = makeAuthority("the clients' authority");
    NginxServer::Options options;
    options.certificate = m_own.certificatePem();
    options.privateKey = m_own.keyPem();
    options.server = "ssl_verify_client on;\n ssl_client_certificate " +
                     write("clients.pem", clients.certificatePem()) +
                     ";\n location = /who { return 200 \"$ssl_client_s_dn\\n\"; }\n";
    const NginxServer server(options);
    const std::string url = "https://127.0.0.1:" + std::to_string(server.tlsPort()) + "/who";

    CertificateFields fields;
    fields.commonName = "a client";
    const Certificate client = issue(clients, fields);
    const std::string certificate = write("client.pem", client.certificatePem());
    const std::string key = write("client.key", client.keyPem());
    EXPECT_EQ(outputOf("fetch_with_certificate", {url, m_trusted, certificate, key}), "CN=a client\n");

    const Outcome wrongKey =
        run("fetch_with_certificate", {url, m_trusted, certificate, write("other.key", m_own.keyPem())});
    EXPECT_EQ(wrongKey.status, 1);
    EXPECT_THAT(wrongKey.errors, HasSubstr("other.key"));

    const Certificate stranger = selfSigned(fields);
    const Outcome refused = run("fetch_with_certificate", {url, m_trusted, write("x.pem", stranger.certificatePem()),
                                                           write("x.key", stranger.keyPem())});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.output, HasSubstr("400 The SSL certificate error"));
}

} // namespace
