#include "Peers.hpp"
#include "TLSGreeting.hpp"
#include "TLSPeers.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Socket.hpp"
#include "blocxx/TlsFacts.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <string>
#include <vector>

using blocxx::Socket;
using blocxx::SSLClientCtx;
using blocxx::SSLException;
using blocxx::SSLOpts;
using blocxx::TlsFacts;
using testing::ElementsAre;
using testing::HasSubstr;
using zol_test::ConnectFailure;
using zol_test::failureAt;
using zol_test::greet;
using zol_test::loopback;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::testAuthority;
using zol_test::tlsServer;

namespace
{

SSLOpts trustingOpts()
{
    SSLOpts opts;
    opts.inMemoryTrustStore.push_back(testAuthority().x509.get());
    return opts;
}

void expectNotMade(const SSLOpts& opts, const std::string& reason)
{
    try
    {
        const SSLClientCtx context(opts);
        FAIL() << "made, without: " << reason;
    }
    catch (const SSLException& e)
    {
        EXPECT_STREQ(e.type(), "SSLException");
        EXPECT_THAT(e.getMessage(), HasSubstr(reason));
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

void waitForThePeer(ServerConnection& connection)
{
    connection.waitUntilPeerCloses();
}

TlsFacts factsOf(const SSLOpts& opts, const ScriptedServer::Options& options)
{
    ScriptedServer server(options, waitForThePeer);
    Socket socket(new SSLClientCtx(opts));
    socket.connect(loopback(server.port()));
    return socket.getTlsFacts().value();
}

ScriptedServer::Options serverOf(int version)
{
    ScriptedServer::Options options = tlsServer();
    options.adjust = [version](SSL_CTX* context)
    {
        SSL_CTX_set_min_proto_version(context, version);
        SSL_CTX_set_max_proto_version(context, version);
    };
    return options;
}

// The suites of the context that belong to that version.
std::vector<std::string> suitesOf(const SSLOpts& opts, const std::string& version)
{
    const SSLClientCtx context(opts);
    std::vector<std::string> names;
    STACK_OF(SSL_CIPHER)* const all = SSL_CTX_get_ciphers(context.getSSLCtx());
    for (int i = 0; i < sk_SSL_CIPHER_num(all); ++i)
    {
        const SSL_CIPHER* const suite = sk_SSL_CIPHER_value(all, i);
        if (version == SSL_CIPHER_get_version(suite))
        {
            names.emplace_back(SSL_CIPHER_get_name(suite));
        }
    }
    return names;
}

/// A server that notes the protocols which it is offered.
class ChoosingServer
{
public:
    /// Chooses that one; none if empty.
    explicit ChoosingServer(std::string choice = "") : m_choice(std::move(choice)) {}

    TlsFacts factsWith(const SSLOpts& opts) { return factsOf(opts, options()); }

    ScriptedServer::Options options()
    {
        ScriptedServer::Options made = tlsServer();
        made.adjust = [this](SSL_CTX* context) { SSL_CTX_set_alpn_select_cb(context, choose, this); };
        return made;
    }

    /// In the extension's form; "nothing" if there was no extension.
    std::string offered = "nothing";

private:
    static int choose(SSL*, const unsigned char** chosen, unsigned char* length, const unsigned char* offered,
                      unsigned int offeredLength, void* self)
    {
        auto* const server = static_cast<ChoosingServer*>(self);
        server->offered.assign(reinterpret_cast<const char*>(offered), offeredLength);
        *chosen = reinterpret_cast<const unsigned char*>(server->m_choice.data());
        *length = static_cast<unsigned char>(server->m_choice.size());
        return server->m_choice.empty() ? SSL_TLSEXT_ERR_NOACK : SSL_TLSEXT_ERR_OK;
    }

    std::string m_choice;
};

blocxx::Array<blocxx::String> protocols(const std::vector<std::string>& names)
{
    return {names.begin(), names.end()};
}

} // namespace

TEST(MinimumVersion, BelowTLS12IsRefused)
{
    for (const int version : {0, SSL3_VERSION, TLS1_VERSION, TLS1_1_VERSION, TLS1_3_VERSION + 1, DTLS1_2_VERSION, -1})
    {
        SSLOpts opts;
        opts.minimumVersion = version;
        expectNotMade(opts,
                      "SSLOpts::minimumVersion: neither TLS1_2_VERSION nor TLS1_3_VERSION: " + std::to_string(version));
    }
}

TEST(MinimumVersion, OfTLS13RefusesAServerOfTLS12)
{
    SSLOpts opts = trustingOpts();
    EXPECT_EQ(factsOf(opts, serverOf(TLS1_2_VERSION)).version, "TLSv1.2");
    opts.minimumVersion = TLS1_3_VERSION;
    EXPECT_EQ(factsOf(opts, serverOf(TLS1_3_VERSION)).version, "TLSv1.3");
    ScriptedServer old(serverOf(TLS1_2_VERSION), greet);
    const ConnectFailure failure = failureAt(old, new SSLClientCtx(opts));
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_THAT(failure.text, HasSubstr("protocol version"));
}

TEST(Ciphers, AreOfferedInTheirOrder)
{
    SSLOpts opts = trustingOpts();
    opts.ciphers = "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-ECDSA-AES256-GCM-SHA384";
    EXPECT_THAT(suitesOf(opts, "TLSv1.2"),
                ElementsAre("ECDHE-ECDSA-AES128-GCM-SHA256", "ECDHE-ECDSA-AES256-GCM-SHA384"));
    EXPECT_EQ(factsOf(opts, serverOf(TLS1_2_VERSION)).cipher, "ECDHE-ECDSA-AES128-GCM-SHA256");
    opts.ciphers = "ECDHE-ECDSA-AES256-GCM-SHA384:ECDHE-ECDSA-AES128-GCM-SHA256";
    EXPECT_EQ(factsOf(opts, serverOf(TLS1_2_VERSION)).cipher, "ECDHE-ECDSA-AES256-GCM-SHA384");
    EXPECT_EQ(factsOf(opts, tlsServer()).version, "TLSv1.3");
}

TEST(Ciphers, MayHaveTheirStandardNames)
{
    SSLOpts opts = trustingOpts();
    opts.ciphers = "TLS_ECDHE_ECDSA_WITH_AES_128_GCM_SHA256:ECDHE-RSA-CHACHA20-POLY1305";
    EXPECT_THAT(suitesOf(opts, "TLSv1.2"), ElementsAre("ECDHE-ECDSA-AES128-GCM-SHA256", "ECDHE-RSA-CHACHA20-POLY1305"));
}

TEST(Ciphers, ThatTheServerDoesNotHaveEndTheHandshake)
{
    SSLOpts opts = trustingOpts();
    opts.ciphers = "ECDHE-RSA-AES128-GCM-SHA256";
    ScriptedServer server(serverOf(TLS1_2_VERSION), greet);
    EXPECT_THAT(failureAt(server, new SSLClientCtx(opts)).text, HasSubstr("handshake failure"));
}

TEST(Ciphers, OfWhichOneIsUnknownAreRefused)
{
    const std::string good = "ECDHE-ECDSA-AES128-GCM-SHA256";
    const std::vector<std::string> names = {"NO-SUCH-SUITE", "", good + " ", "ecdhe-ecdsa-aes128-gcm-sha256",
                                            good + "," + good, "TLS_AES_128_GCM_SHA256", "HIGH", "ALL", "DEFAULT",
                                            "ECDHE+AESGCM", "!aNULL", "-RSA", "@STRENGTH", "@SECLEVEL=0",
                                            // neither encrypted, nor authenticated, nor with a key that is there
                                            "NULL-SHA256", "AECDH-AES128-SHA", "PSK-AES128-GCM-SHA256"};
    for (const std::string& name : names)
    {
        for (const std::string& list : {good + ":" + name, name + ":" + good})
        {
            SSLOpts opts;
            opts.ciphers = list;
            expectNotMade(opts, "SSLOpts::ciphers: unknown or forbidden cipher suite for TLS 1.2: \"" + name + "\"");
        }
    }
}

TEST(CipherSuites, AreOfferedInTheirOrder)
{
    SSLOpts opts = trustingOpts();
    opts.cipherSuites = "TLS_CHACHA20_POLY1305_SHA256:TLS_AES_128_CCM_SHA256";
    EXPECT_THAT(suitesOf(opts, "TLSv1.3"), ElementsAre("TLS_CHACHA20_POLY1305_SHA256", "TLS_AES_128_CCM_SHA256"));
    EXPECT_EQ(factsOf(opts, tlsServer()).cipher, "TLS_CHACHA20_POLY1305_SHA256");
    opts.cipherSuites = "TLS_AES_128_GCM_SHA256";
    EXPECT_EQ(factsOf(opts, tlsServer()).cipher, "TLS_AES_128_GCM_SHA256");
    EXPECT_EQ(factsOf(opts, serverOf(TLS1_2_VERSION)).version, "TLSv1.2");
}

TEST(CipherSuites, OfWhichOneIsUnknownAreRefused)
{
    const std::string good = "TLS_AES_128_GCM_SHA256";
    for (const std::string name : {"NO_SUCH_SUITE", "", "tls_aes_128_gcm_sha256", "TLS_AES_256_GCM_SHA384 ",
                                   "ECDHE-ECDSA-AES128-GCM-SHA256", "TLS_ECDHE_ECDSA_WITH_AES_128_GCM_SHA256", "ALL"})
    {
        for (const std::string& list : {good + ":" + name, name + ":" + good})
        {
            SSLOpts opts;
            opts.cipherSuites = list;
            expectNotMade(opts,
                          "SSLOpts::cipherSuites: unknown or forbidden cipher suite for TLS 1.3: \"" + name + "\"");
        }
    }
}

TEST(ApplicationProtocols, AreHttp11AtFirst)
{
    ChoosingServer server("http/1.1");
    EXPECT_EQ(server.factsWith(trustingOpts()).applicationProtocol, "http/1.1");
    EXPECT_EQ(server.offered, "\x08http/1.1");
}

TEST(ApplicationProtocols, AreOfferedInTheirOrder)
{
    SSLOpts opts = trustingOpts();
    const std::string longest(255, 'x');
    opts.applicationProtocols = protocols({"b", "http/1.1", longest});
    ChoosingServer server("http/1.1");
    EXPECT_EQ(server.factsWith(opts).applicationProtocol, "http/1.1");
    EXPECT_EQ(server.offered, "\x01"
                              "b\x08http/1.1\xff" +
                                  longest);
}

TEST(ApplicationProtocols, AreNotSentIfThereAreNone)
{
    SSLOpts opts = trustingOpts();
    opts.applicationProtocols = protocols({});
    ChoosingServer server("http/1.1");
    EXPECT_EQ(server.factsWith(opts).applicationProtocol, "");
    EXPECT_EQ(server.offered, "nothing");
}

TEST(ApplicationProtocols, NeedNotBeChosenByTheServer)
{
    ChoosingServer server;
    EXPECT_EQ(server.factsWith(trustingOpts()).applicationProtocol, "");
    EXPECT_EQ(server.offered, "\x08http/1.1");
}

TEST(ApplicationProtocols, ThatWereNotOfferedAreRefused)
{
    ChoosingServer choosing("h2");
    ScriptedServer server(choosing.options(), greet);
    const ConnectFailure failure = failureAt(server, new SSLClientCtx(trustingOpts()));
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_THAT(failure.text, HasSubstr("bad extension"));
}

TEST(ApplicationProtocols, HaveNamesOf1To255Bytes)
{
    for (const std::string& name : {std::string(), std::string(256, 'x')})
    {
        SSLOpts opts;
        opts.applicationProtocols = protocols({"http/1.1", name});
        expectNotMade(opts, "SSLOpts::applicationProtocols: a name has 1 to 255 bytes, not " +
                                std::to_string(name.size()) + ": \"" + name + "\"");
    }
    SSLOpts opts;
    opts.applicationProtocols = protocols(std::vector<std::string>(256, std::string(255, 'x')));
    expectNotMade(opts, "SSLOpts::applicationProtocols: more than 65535 bytes");
}
