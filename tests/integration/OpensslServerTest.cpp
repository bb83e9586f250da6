#include "Fetch.hpp"
#include "Trust.hpp"
#include "support/Certificates.hpp"
#include "support/ChildProcess.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using testing::HasSubstr;
using zol_test::Certificate;
using zol_test::ChildProcess;

// `openssl s_server`, serving the files of a folder over HTTP/1.0.
class OpensslServer
{
public:
    explicit OpensslServer(const Certificate& own)
    {
        m_folder.write("page.txt", "served by openssl\n");
        ChildProcess::Options options;
        options.workingDirectory = m_folder.path().string();
        m_process = std::make_unique<ChildProcess>(
            std::vector<std::string>{"openssl", "s_server", "-4", "-accept", "127.0.0.1:0", "-WWW", "-cert",
                                     m_folder.write("own.crt", own.certificatePem()), "-key",
                                     m_folder.write("own.key", own.keyPem())},
            std::move(options));
        if (!m_process->waitForOutput("ACCEPT 127.0.0.1:") || !m_process->waitForOutput("\n"))
        {
            throw std::runtime_error("openssl s_server did not start:\n" + m_process->errorOutput());
        }
        const std::string output = m_process->output();
        m_port = output.substr(output.find(':') + 1);
        m_port.erase(m_port.find_first_not_of("0123456789"));
    }

    std::string at(const std::string& host) const { return host + ":" + m_port; }

private:
    zol_test::TemporaryDirectory m_folder;
    std::unique_ptr<ChildProcess> m_process;
    std::string m_port;
};

zol_test::CertificateFields loopback()
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"localhost"};
    fields.ipAddresses = {"127.0.0.1"};
    return fields;
}

Ask page(const blocxx::SSLClientCtxRef& tls)
{
    Ask ask;
    ask.target = "/page.txt";
    ask.version = HTTP::HTTP_1_0;
    ask.tls = tls;
    return ask;
}

TEST(OpensslServer, AGoodCertificateIsAccepted)
{
    const Certificate authority = zol_test::makeAuthority();
    const OpensslServer server(zol_test::issue(authority, loopback()));
    for (const char* host : {"127.0.0.1", "localhost"})
    {
        HTTP::Response response = fetch(server.at(host), page(trusting(authority)));
        EXPECT_EQ(response.statusLine.statusCode, 200);
        EXPECT_EQ(bodyOf(response), "served by openssl\n");
    }
}

TEST(OpensslServer, AnExpiredCertificateIsRefused)
{
    const Certificate authority = zol_test::makeAuthority();
    zol_test::CertificateFields fields = loopback();
    fields.validFromDays = -30;
    fields.validToDays = -1;
    const OpensslServer server(zol_test::issue(authority, fields));
    const Refusal refusal = refusalOf([&] { fetch(server.at("localhost"), page(trusting(authority))); });
    EXPECT_EQ(refusal.type, "SSLException");
    EXPECT_THAT(refusal.message, HasSubstr("localhost"));
    EXPECT_THAT(refusal.message, HasSubstr("certificate has expired"));
}

TEST(OpensslServer, ASelfSignedCertificateIsRefusedUnlessItIsTrustedItself)
{
    const Certificate own = zol_test::selfSigned(loopback());
    const OpensslServer server(own);
    const Refusal refusal =
        refusalOf([&] { fetch(server.at("localhost"), page(trusting(zol_test::makeAuthority()))); });
    EXPECT_EQ(refusal.type, "SSLException");
    EXPECT_THAT(refusal.message, HasSubstr("localhost"));
    EXPECT_THAT(refusal.message, HasSubstr("self-signed certificate"));
    EXPECT_EQ(bodyOf(fetch(server.at("localhost"), page(trusting(own)))), "served by openssl\n");
}

TEST(OpensslServer, TheSystemsTrustDoesNotCoverATestAuthority)
{
    const OpensslServer server(zol_test::issue(zol_test::makeAuthority(), loopback()));
    const blocxx::SSLClientCtxRef defaults(new blocxx::SSLClientCtx());
    const Refusal refusal = refusalOf([&] { fetch(server.at("localhost"), page(defaults)); });
    EXPECT_EQ(refusal.type, "SSLException");
    EXPECT_THAT(refusal.message, HasSubstr("localhost"));
}

TEST(OpensslServer, ACertificateForAnotherNameIsRefused)
{
    const Certificate authority = zol_test::makeAuthority();
    zol_test::CertificateFields fields;
    fields.commonName = "localhost"; // ignored where there are names
    fields.dnsNames = {"www.elsewhere.test"};
    const OpensslServer server(zol_test::issue(authority, fields));
    const Refusal refusal = refusalOf([&] { fetch(server.at("localhost"), page(trusting(authority))); });
    EXPECT_EQ(refusal.type, "SSLException");
    EXPECT_THAT(refusal.message, HasSubstr("localhost"));
    EXPECT_THAT(refusal.message, HasSubstr("hostname mismatch"));
}

TEST(OpensslServer, AnyCertificateIsAcceptedOnRequest)
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"www.elsewhere.test"};
    fields.validFromDays = -30;
    fields.validToDays = -1;
    const OpensslServer server(zol_test::selfSigned(fields));
    blocxx::SSLOpts options;
    options.verifyMode = blocxx::SSLOpts::MODE_DISABLED;
    const blocxx::SSLClientCtxRef careless(new blocxx::SSLClientCtx(options));
    EXPECT_EQ(bodyOf(fetch(server.at("localhost"), page(careless))), "served by openssl\n");
}

} // namespace
