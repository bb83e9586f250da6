#include "Getting.hpp"
#include "Trust.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <optional>
#include <string>

namespace
{

using namespace exchange_integration;
using testing::HasSubstr;
using zol_integration::trusting;
using zol_test::Certificate;
using zol_test::NginxServer;

class NginxTlsExchange : public testing::Test
{
protected:
    const Certificate m_authority = zol_test::makeAuthority();
    const Certificate m_clients = zol_test::makeAuthority("clients' authority");

    /// A server that asks for a client's certificate and takes none or one of m_clients.
    NginxServer::Options options(const zol_test::CertificateFields& fields = loopbackFields()) const
    {
        const Certificate own = zol_test::issue(m_authority, fields);
        NginxServer::Options options;
        options.certificate = own.certificatePem();
        options.privateKey = own.keyPem();
        options.server = "ssl_verify_client optional;\n"
                         "ssl_client_certificate " +
                         m_folder.write("clients.crt", m_clients.certificatePem()) +
                         ";\n"
                         "location = /who { return 200 \"$ssl_client_verify $ssl_client_s_dn\"; }\n"
                         "location = /to { return 302 $arg_to; }\n"
                         "location = /protocol { return 200 \"$ssl_protocol $ssl_cipher\"; }\n";
        return options;
    }

    Certificate client() const
    {
        zol_test::CertificateFields fields;
        fields.commonName = "a client";
        return zol_test::issue(m_clients, fields);
    }

private:
    zol_test::TemporaryDirectory m_folder;
};

TEST_F(NginxTlsExchange, FilesOfEverySizeArriveWholeOnOneConnection)
{
    const NginxServer server(options());
    const blocxx::SSLClientCtxRef tls = trusting(m_authority);
    std::optional<ExchangeResponse> last;
    for (const std::size_t size : {0U, 1U, 16384U, 16385U, 1U << 20})
    {
        SCOPED_TRACE(size);
        const std::string content = zol_test::distinctBytes(size);
        server.folder().write("html/file.bin", content);
        const Request request = getAndKeep(secureUrl(server.tlsPort(), "/file.bin"), tls);
        const ExchangeResponse response = last ? exchange(last->getConnection(), request) : exchange(request);
        EXPECT_TRUE(bodyOf(response) == content);
        ASSERT_TRUE(response.reusable());
        last = response;
    }
}

TEST_F(NginxTlsExchange, TheFactsAreThoseThatTheServerSees)
{
    const NginxServer server(options());
    const ExchangeResponse response =
        exchange(get(secureUrl(server.tlsPort(), "/protocol", "localhost"), trusting(m_authority)));
    const auto facts = response.getConnection().getTlsFacts();
    ASSERT_TRUE(facts);
    EXPECT_EQ(bodyOf(response), textOf(facts->version) + " " + textOf(facts->cipher));
    EXPECT_EQ(textOf(facts->issuer), "CN=test authority");
}

TEST_F(NginxTlsExchange, AnUntrustedServerIsRefused)
{
    const NginxServer server(options());
    expectFailure([&] { exchange(get(secureUrl(server.tlsPort()), trusting(m_clients))); }, ExchangeException::E_TLS,
                  ExchangeException::E_ERROR, "unable to get local issuer certificate");
    expectFailure([&] { exchange(get(secureUrl(server.tlsPort()))); }, ExchangeException::E_TLS,
                  ExchangeException::E_ERROR, "127.0.0.1:" + std::to_string(server.tlsPort()));
}

TEST_F(NginxTlsExchange, AServerOfAnotherNameIsRefused)
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"elsewhere.test"};
    const NginxServer server(options(fields));
    expectFailure([&] { exchange(get(secureUrl(server.tlsPort(), "/", "localhost"), trusting(m_authority))); },
                  ExchangeException::E_TLS, ExchangeException::E_ERROR, "hostname mismatch");
    expectFailure([&] { exchange(get(secureUrl(server.tlsPort()), trusting(m_authority))); }, ExchangeException::E_TLS,
                  ExchangeException::E_ERROR, "IP address mismatch");
}

TEST_F(NginxTlsExchange, TlsToAPlainPortIsAFailureOfTls)
{
    const NginxServer server(options());
    expectFailure([&] { exchange(get(secureUrl(server.port()), trusting(m_authority))); }, ExchangeException::E_TLS,
                  ExchangeException::E_ERROR, "wrong version number");
}

TEST_F(NginxTlsExchange, PlainTextToATlsPortIsAnAnswer)
{
    const NginxServer server(options());
    const ExchangeResponse response = exchange(get(plainUrl(server.tlsPort())));
    EXPECT_EQ(response.getStatus(), 400);
    EXPECT_THAT(bodyOf(response), HasSubstr("plain HTTP request was sent to HTTPS port"));
}

TEST_F(NginxTlsExchange, AClientCertificateIsShown)
{
    const NginxServer server(options());
    const std::string who = secureUrl(server.tlsPort(), "/who");
    EXPECT_EQ(bodyOf(exchange(get(who, showing(client(), m_authority)))), "SUCCESS CN=a client");
    EXPECT_EQ(bodyOf(exchange(get(who, trusting(m_authority)))), "NONE ");
}

// This server refuses by a response, not within TLS.
TEST_F(NginxTlsExchange, ARefusedClientCertificateIsAnAnswerWithItsBody)
{
    const NginxServer server(options());
    const Certificate other = zol_test::issue(zol_test::makeAuthority("others"), {});
    const ExchangeResponse response = exchange(get(secureUrl(server.tlsPort(), "/who"), showing(other, m_authority)));
    EXPECT_EQ(response.getStatus(), 400);
    EXPECT_THAT(bodyOf(response), HasSubstr("The SSL certificate error"));
}

TEST_F(NginxTlsExchange, AClientCertificateIsDroppedForAnotherOriginAndStaysDropped)
{
    const NginxServer server(options());
    const blocxx::SSLClientCtxRef tls = showing(client(), m_authority);
    const auto here = [&](const std::string& target) { return secureUrl(server.tlsPort(), target); };
    const auto there = [&](const std::string& target) { return secureUrl(server.tlsPort(), target, "localhost"); };
    const auto whoBehind = [&](const std::string& url) { return bodyOf(exchange(get(url, tls), following(5))); };
    EXPECT_EQ(whoBehind(here("/to?to=" + here("/who"))), "SUCCESS CN=a client");
    EXPECT_EQ(whoBehind(here("/to?to=" + there("/who"))), "NONE ");
    EXPECT_EQ(whoBehind(here("/to?to=" + there("/to?to=" + there("/who")))), "NONE ");
    EXPECT_EQ(whoBehind(here("/to?to=" + there("/to?to=" + here("/who")))), "NONE ");
    EXPECT_EQ(whoBehind(there("/who")), "SUCCESS CN=a client") << "the context itself is as it was";
}

} // namespace
