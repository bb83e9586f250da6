// How zolget reaches a server, over TCP and TLS.

#include "Zolget.hpp"
#include "support/Certificates.hpp"
#include "support/ChildProcess.hpp"
#include "support/Descriptor.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>
#include <openssl/ssl.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

using testing::HasSubstr;
using testing::Not;
using zol_test::LoopbackSocket;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::TemporaryDirectory;
using zolget_test::okResponse;
using zolget_test::Outcome;
using zolget_test::respondingWith;
using zolget_test::zolget;

namespace
{

int chooseFirst(SSL*, const unsigned char** chosen, unsigned char* length, const unsigned char* offered, unsigned int,
                void*)
{
    *length = offered[0];
    *chosen = offered + 1;
    return SSL_TLSEXT_ERR_OK;
}

/// A server whose certificate is signed by a private authority.
class ZolgetTls : public testing::Test
{
protected:
    void start(const zol_test::CertificateFields& fields, ScriptedServer::Script script,
               std::function<void(SSL_CTX*)> adjust = {})
    {
        m_certificate = zol_test::issue(m_authority, fields);
        ScriptedServer::Options options;
        options.certificate = m_certificate.certificatePem();
        options.privateKey = m_certificate.keyPem();
        options.adjust = std::move(adjust);
        m_server = std::make_unique<ScriptedServer>(options, std::move(script));
    }

    std::string url(const std::string& host = "localhost") const
    {
        return "https://" + host + ":" + std::to_string(m_server->port()) + "/";
    }

    TemporaryDirectory m_folder;
    zol_test::Certificate m_authority = zol_test::makeAuthority();
    zol_test::Certificate m_certificate;
    std::string m_trust = m_folder.write("ca.pem", m_authority.certificatePem());
    std::unique_ptr<ScriptedServer> m_server;
};

zol_test::CertificateFields forLocalhost()
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"localhost"};
    fields.ipAddresses = {"127.0.0.1"};
    return fields;
}

} // namespace

TEST(ZolgetConnection, ReachesAnIPv6Literal)
{
    ScriptedServer::Options options;
    options.ipv6 = true;
    const ScriptedServer server(options, respondingWith(okResponse("over IPv6")));
    const Outcome run = zolget({zolget_test::urlOf(server)});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "over IPv6");
    EXPECT_THAT(server.requests().front(), HasSubstr("\r\nHost: [::1]:" + std::to_string(server.port()) + "\r\n"));
}

TEST(ZolgetConnection, ReachesAName)
{
    const ScriptedServer server(respondingWith(okResponse("by name")));
    const Outcome run = zolget({"http://localhost:" + std::to_string(server.port()) + "/"});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "by name");
}

TEST(ZolgetConnection, ExitsWith3ForAnUnknownName)
{
    const Outcome run = zolget({"http://no-such-host.invalid/"});
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.errors, HasSubstr("cannot find the host no-such-host.invalid: "));
    EXPECT_THAT(run.errors, HasSubstr("check the spelling"));
}

TEST(ZolgetConnection, ExitsWith4WhenRefused)
{
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    const std::string authority = "127.0.0.1:" + std::to_string(closed.port);
    const Outcome run = zolget({"http://" + authority + "/"});
    EXPECT_EQ(run.status, 4);
    EXPECT_THAT(run.errors, HasSubstr("cannot connect to " + authority + ": "));
    EXPECT_THAT(run.errors, HasSubstr("Connection refused"));
}

TEST(ZolgetConnection, ExitsWith4WhenATlsHandshakeTakesTooLong)
{
    const LoopbackSocket silent(LoopbackSocket::E_LISTENING);
    const Outcome run = zolget({"--connect-timeout", "0.3", "https://127.0.0.1:" + std::to_string(silent.port) + "/"});
    EXPECT_EQ(run.status, 4);
    EXPECT_THAT(run.errors, HasSubstr("--connect-timeout allows more time"));
}

TEST(ZolgetConnection, LogsWhenAsked)
{
    const ScriptedServer server(respondingWith(okResponse("body")));
    const Outcome run = zolget({"-vv", zolget_test::urlOf(server)});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "body");
    EXPECT_THAT(run.errors, HasSubstr("DEBUG2 zol.common.http"));
    EXPECT_EQ(run.errors.find("DEBUG3"), std::string::npos);
    EXPECT_EQ(zolget({"-v", zolget_test::urlOf(server)}).errors.find("DEBUG"), std::string::npos);
    EXPECT_THAT(zolget({"-vvv", zolget_test::urlOf(server)}).errors, HasSubstr("DEBUG3 zol.common.http"));
}

TEST_F(ZolgetTls, FetchesWithTheAuthorityThatItIsGiven)
{
    start(forLocalhost(), respondingWith(okResponse("secure")));
    for (const char* host : {"localhost", "127.0.0.1"})
    {
        const Outcome run = zolget({"--ca", m_trust, url(host)});
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(run.output, "secure");
    }
}

TEST_F(ZolgetTls, ExitsWith5WithoutTheAuthority)
{
    start(forLocalhost(), respondingWith(okResponse("secure")));
    const Outcome run = zolget({url()});
    EXPECT_EQ(run.status, 5);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr("no secure connection to localhost:"));
    EXPECT_THAT(run.errors, HasSubstr("unable to get local issuer certificate; --ca PATH trusts"));
    EXPECT_THAT(run.errors, Not(HasSubstr("SSLOpts")));
    EXPECT_THAT(run.errors, Not(HasSubstr("--no-verify")));
    EXPECT_TRUE(m_server->waitUntilIdle());
    EXPECT_THAT(m_server->errors(), Not(testing::IsEmpty()));
}

TEST_F(ZolgetTls, ExitsWith5ForAnotherName)
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"elsewhere.example"};
    start(fields, respondingWith(okResponse("secure")));
    const Outcome run = zolget({"--ca", m_trust, url()});
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.errors, testing::EndsWith("; ask for the host by a name that its certificate carries\n"));
    EXPECT_TRUE(m_server->waitUntilIdle());
    EXPECT_THAT(m_server->errors(), Not(testing::IsEmpty()));
}

TEST_F(ZolgetTls, FetchesFromAnyServerWithoutVerification)
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"elsewhere.example"};
    start(fields, respondingWith(okResponse("secure")));
    const Outcome run = zolget({"--no-verify", url()});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "secure");
}

TEST_F(ZolgetTls, RefusesWhatItsRevocationListsHold)
{
    zol_test::CertificateFields fields = forLocalhost();
    const zol_test::Certificate other = zol_test::issue(m_authority, fields);
    start(fields, respondingWith(okResponse("secure")));
    const auto fetchWith = [this](const std::string& lists) {
        return zolget({"--ca", m_trust, "--crl", m_folder.write("lists.pem", lists), url()});
    };
    const Outcome accepted = fetchWith(zol_test::revocationListPem(m_authority, {other}));
    EXPECT_EQ(accepted.status, 0) << accepted.errors;
    EXPECT_EQ(accepted.output, "secure");

    const Outcome refused = fetchWith(zol_test::revocationListPem(m_authority, {m_certificate}));
    EXPECT_EQ(refused.status, 5);
    EXPECT_EQ(refused.output, "");
    EXPECT_THAT(refused.errors, HasSubstr("certificate revoked"));

    const Outcome unknown = fetchWith(zol_test::revocationListPem(zol_test::makeAuthority("another"), {}));
    EXPECT_EQ(unknown.status, 5);
    EXPECT_THAT(unknown.errors, HasSubstr("unable to get certificate CRL; every issuer in its chain needs"));
    EXPECT_THAT(unknown.errors, Not(HasSubstr("SSLOpts")));
    EXPECT_TRUE(m_server->waitUntilIdle());
    EXPECT_THAT(m_server->errors(), testing::SizeIs(2));
}

TEST_F(ZolgetTls, OffersWhatItIsTold)
{
    start(
        forLocalhost(),
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            const unsigned char* protocol = nullptr;
            unsigned int length = 0;
            SSL_get0_alpn_selected(connection.ssl(), &protocol, &length);
            connection.send(okResponse(SSL_get_cipher_name(connection.ssl()) + std::string(" ") +
                                       std::string(reinterpret_cast<const char*>(protocol), length)));
        },
        [](SSL_CTX* context) { SSL_CTX_set_alpn_select_cb(context, chooseFirst, nullptr); });
    EXPECT_EQ(zolget({"--ca", m_trust, "--tls13-ciphers", "TLS_CHACHA20_POLY1305_SHA256", url()}).output,
              "TLS_CHACHA20_POLY1305_SHA256 http/1.1");
    EXPECT_EQ(zolget({"--ca", m_trust, "--tls13-ciphers", "TLS_AES_128_GCM_SHA256", "--no-alpn", url()}).output,
              "TLS_AES_128_GCM_SHA256 ");
}

TEST_F(ZolgetTls, SpeaksTls12OnlyIfItMay)
{
    start(
        forLocalhost(),
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(okResponse(SSL_get_cipher_name(connection.ssl())));
        },
        [](SSL_CTX* context) { SSL_CTX_set_max_proto_version(context, TLS1_2_VERSION); });
    EXPECT_EQ(zolget({"--ca", m_trust, "--ciphers", "ECDHE-ECDSA-AES128-GCM-SHA256", url()}).output,
              "ECDHE-ECDSA-AES128-GCM-SHA256");
    const Outcome refused = zolget({"--ca", m_trust, "--tls-min", "1.3", url()});
    EXPECT_EQ(refused.status, 5);
    EXPECT_THAT(refused.errors, HasSubstr("protocol version"));
    EXPECT_TRUE(m_server->waitUntilIdle());
    EXPECT_THAT(m_server->errors(), testing::SizeIs(1));
}

TEST_F(ZolgetTls, ExitsWith5ForAnUnknownCipherAndNamesIt)
{
    for (const char* option : {"--ciphers", "--tls13-ciphers"})
    {
        const Outcome run = zolget({option, "NO-SUCH", "https://localhost:1/"});
        EXPECT_EQ(run.status, 5);
        EXPECT_THAT(run.errors, HasSubstr(option + std::string(": unknown or forbidden cipher suite for TLS 1.")));
        EXPECT_THAT(run.errors, HasSubstr("\"NO-SUCH\""));
    }
}

TEST_F(ZolgetTls, SendsItsCertificate)
{
    const zol_test::Certificate client = zol_test::issue(m_authority, {});
    start(
        forLocalhost(),
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            X509* const shown = SSL_get1_peer_certificate(connection.ssl());
            connection.send(okResponse(shown != nullptr ? "known" : "unknown"));
            X509_free(shown);
        },
        [this](SSL_CTX* context)
        {
            SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
            X509_STORE_add_cert(SSL_CTX_get_cert_store(context), m_authority.x509.get());
        });
    const std::string certificate = m_folder.write("client.pem", client.certificatePem());
    const std::string key = m_folder.write("key.pem", client.keyPem());
    const std::string both = m_folder.write("both.pem", client.certificatePem() + client.keyPem());
    EXPECT_EQ(zolget({"--ca", m_trust, url()}).output, "unknown");
    EXPECT_EQ(zolget({"--ca", m_trust, "--cert", certificate, "--key", key, url()}).output, "known");
    EXPECT_EQ(zolget({"--ca", m_trust, "--cert", both, url()}).output, "known");
}

TEST_F(ZolgetTls, ExitsWith8ForMissingFiles)
{
    for (const char* option : {"--ca", "--cert", "--crl"})
    {
        const Outcome run = zolget({option, m_folder.file("missing"), "https://localhost:1/"});
        EXPECT_EQ(run.status, 8);
        EXPECT_THAT(run.errors, HasSubstr("missing: No such file or directory"));
    }
}

TEST_F(ZolgetTls, ExitsWith5ForFilesThatHoldSomethingElse)
{
    const std::string text = m_folder.write("text", "no certificate");
    for (const char* option : {"--ca", "--cert", "--crl"})
    {
        const Outcome run = zolget({option, text, "https://localhost:1/"});
        EXPECT_EQ(run.status, 5);
        EXPECT_THAT(run.errors, HasSubstr("PEM"));
    }
}

TEST_F(ZolgetTls, ExitsWith5ForTheKeyOfAnotherCertificate)
{
    const std::string certificate = m_folder.write("client.pem", zol_test::issue(m_authority, {}).certificatePem());
    const std::string key = m_folder.write("key.pem", zol_test::issue(m_authority, {}).keyPem());
    const Outcome run = zolget({"--cert", certificate, "--key", key, "https://localhost:1/"});
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.errors, HasSubstr("--key takes the private key of the certificate given with --cert"));
    EXPECT_THAT(run.errors, Not(HasSubstr("SSLCtxMgr")));
}

TEST_F(ZolgetTls, ExitsWith5ForAnEncryptedKey)
{
    const zol_test::Certificate client = zol_test::issue(m_authority, {});
    const std::string certificate = m_folder.write("client.pem", client.certificatePem());
    const std::string key = m_folder.file("encrypted.pem");
    zol_test::ChildProcess encrypt({"openssl", "pkey", "-in", m_folder.write("key.pem", client.keyPem()), "-aes128",
                                    "-passout", "pass:secret", "-out", key});
    ASSERT_EQ(encrypt.wait(), 0) << encrypt.errorOutput();
    const Outcome run = zolget({"--cert", certificate, "--key", key, "https://localhost:1/"});
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.errors, HasSubstr("it is encrypted; remove the pass phrase from the key first\n"));
}

TEST_F(ZolgetTls, ExitsWith7ForAnEndWithoutCloseNotify)
{
    start(forLocalhost(),
          [](ServerConnection& connection)
          {
              connection.receiveHead();
              connection.send("HTTP/1.1 200 OK\r\n\r\nperhaps not all");
              connection.cut();
          });
    const Outcome run = zolget({"--ca", m_trust, url()});
    EXPECT_EQ(run.status, 7);
    EXPECT_THAT(run.errors, HasSubstr("the body from localhost:"));
}

TEST_F(ZolgetTls, DoesNotNeedCloseNotifyAfterTheAnnouncedLength)
{
    start(forLocalhost(),
          [](ServerConnection& connection)
          {
              connection.receiveHead();
              connection.send(okResponse("all"));
              connection.cut();
          });
    const Outcome run = zolget({"--ca", m_trust, url()});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "all");
}

TEST(ZolgetTls13, NamesWhatTheServerRequires)
{
    const TemporaryDirectory folder;
    const zol_test::Certificate authority = zol_test::makeAuthority();
    const zol_test::Certificate own = zol_test::issue(authority, forLocalhost());
    const zol_test::Certificate client = zol_test::issue(authority, {});
    const zol_test::Certificate stranger = zol_test::selfSigned({});
    const std::string trust = folder.write("ca.pem", authority.certificatePem());
    zol_test::ChildProcess server({"openssl", "s_server", "-4", "-tls1_3", "-accept", "127.0.0.1:0", "-www", "-cert",
                                   folder.write("own.pem", own.certificatePem()), "-key",
                                   folder.write("own-key.pem", own.keyPem()), "-CAfile", trust, "-Verify", "1",
                                   "-verify_return_error"});
    ASSERT_TRUE(server.waitForOutput("ACCEPT 127.0.0.1:") && server.waitForOutput("\n")) << server.errorOutput();
    const std::string output = server.output();
    const std::string port = output.substr(output.find(':') + 1);
    const std::string url = "https://localhost:" + port.substr(0, port.find_first_not_of("0123456789")) + "/";

    const Outcome without = zolget({"--ca", trust, url});
    EXPECT_EQ(without.status, 5) << without.errors;
    EXPECT_THAT(without.errors, HasSubstr("the secure connection to localhost:"));
    EXPECT_THAT(without.errors, HasSubstr("alert certificate required"));
    EXPECT_THAT(without.errors, HasSubstr("; --cert and --key send a client certificate\n"));

    const std::string unknown = folder.write("stranger.pem", stranger.certificatePem() + stranger.keyPem());
    const Outcome refused = zolget({"--ca", trust, "--cert", unknown, url});
    EXPECT_EQ(refused.status, 5) << refused.errors;
    EXPECT_THAT(refused.errors, HasSubstr("alert unknown ca"));

    const std::string known = folder.write("client.pem", client.certificatePem() + client.keyPem());
    EXPECT_EQ(zolget({"--ca", trust, "--cert", known, url}).status, 0);
}
