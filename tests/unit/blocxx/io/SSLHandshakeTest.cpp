#include "Peers.hpp"
#include "ScriptedResolver.hpp"
#include "TLSGreeting.hpp"
#include "TLSPeers.hpp"
#include "support/Process.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

using blocxx::Socket;
using blocxx::SocketAddress;
using blocxx::SSLClientCtx;
using blocxx::SSLClientCtxRef;
using blocxx::SSLOpts;
using blocxx::Timeout;
using std::chrono::milliseconds;
using testing::HasSubstr;
using zol_test::Certificate;
using zol_test::CertificateFields;
using zol_test::Clock;
using zol_test::ConnectFailure;
using zol_test::connectFailure;
using zol_test::failureAt;
using zol_test::greet;
using zol_test::greetingOf;
using zol_test::loopback;
using zol_test::readUpTo;
using zol_test::resetAfterOneByte;
using zol_test::ScriptedResolver;
using zol_test::ScriptedServer;
using zol_test::secondsSince;
using zol_test::ServerConnection;
using zol_test::testAuthority;
using zol_test::tlsServer;
using zol_test::trustingClient;
using zol_test::uncheckedClient;

TEST(SSLHandshake, VerifiedPeerTalks)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              EXPECT_EQ(connection.receive(4), "ping");
                              connection.send("pong");
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    EXPECT_TRUE(socket.isConnected());
    EXPECT_EQ(socket.write("ping", 4), 4);
    EXPECT_EQ(readUpTo(socket, 5), "pong");
}

TEST(SSLHandshake, OneSocketConnectsTwice)
{
    ScriptedServer server(tlsServer(), greet);
    Socket socket(trustingClient());
    for (int i = 0; i < 2; ++i)
    {
        socket.connect(loopback(server.port()));
        EXPECT_EQ(readUpTo(socket, 6), "hello");
    }
}

TEST(SSLHandshake, ContextServesManyThreads)
{
    ScriptedServer server(tlsServer(), greet);
    const SSLClientCtxRef context = trustingClient();
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back(
            [&]
            {
                Socket socket(context);
                socket.connect(loopback(server.port()));
                EXPECT_EQ(readUpTo(socket, 5), "hello");
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

TEST(SSLHandshake, ServerSeesTheNameButNeverAnAddress)
{
    ScriptedServer server(tlsServer(),
                          [&](ServerConnection& connection)
                          {
                              const char* name = SSL_get_servername(connection.ssl(), TLSEXT_NAMETYPE_host_name);
                              connection.send(name == nullptr ? "none." : name);
                          });
    const auto seenFor = [&](const std::string& host)
    {
        const ScriptedResolver resolver(host, {"127.0.0.1"});
        Socket socket(uncheckedClient());
        socket.connect(SocketAddress::getByName(host.c_str(), server.port()));
        return readUpTo(socket, 100);
    };
    EXPECT_EQ(seenFor("server.example"), "server.example");
    EXPECT_EQ(seenFor("server.example."), "server.example");
    EXPECT_EQ(seenFor("127.0.0.1"), "none.");
    EXPECT_EQ(seenFor("127.1"), "none.");
}

TEST(SSLHandshake, NameTooLongForTLSIsRefused)
{
    ScriptedServer server(tlsServer(), greet);
    const ConnectFailure failure = failureAt(server, trustingClient(), std::string(256, 'a'));
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_THAT(failure.text, HasSubstr("SSL connect error: not a host name for TLS: aaaa"));
}

TEST(SSLHandshake, TLS12IsSpokenAndTLS11IsNot)
{
    ScriptedServer::Options options = tlsServer();
    options.adjust = [](SSL_CTX* context) { SSL_CTX_set_max_proto_version(context, TLS1_2_VERSION); };
    ScriptedServer server(options, greet);
    EXPECT_EQ(greetingOf(server, trustingClient(), "127.0.0.1"), "hello");

    options.adjust = [](SSL_CTX* context)
    {
        SSL_CTX_set_security_level(context, 0);
        SSL_CTX_set_min_proto_version(context, TLS1_VERSION);
        SSL_CTX_set_max_proto_version(context, TLS1_1_VERSION);
    };
    ScriptedServer old(options, greet);
    const ConnectFailure failure = failureAt(old, uncheckedClient());
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_THAT(failure.text, HasSubstr("protocol version"));
}

TEST(SSLHandshake, OwnCertificateIsShownToAServerThatAsks)
{
    const zol_test::TemporaryDirectory folder;
    CertificateFields fields;
    fields.commonName = "the client";
    const Certificate own = zol_test::issue(testAuthority(), fields);
    SSLOpts opts;
    opts.certfile = folder.write("own.pem", own.certificatePem() + own.keyPem());
    opts.verifyMode = SSLOpts::MODE_DISABLED;
    ScriptedServer::Options options = tlsServer();
    options.adjust = [](SSL_CTX* context)
    {
        X509_STORE_add_cert(SSL_CTX_get_cert_store(context), testAuthority().x509.get());
        SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
    };
    ScriptedServer server(options, greet);
    EXPECT_EQ(greetingOf(server, new SSLClientCtx(opts), "127.0.0.1"), "hello");
}

TEST(SSLHandshake, SilentServerTimesOutAndTheTextNamesAddressPhaseAndLimit)
{
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Socket socket(trustingClient());
    socket.setConnectTimeout(Timeout::relative(0.25F));
    const Clock::time_point start = Clock::now();
    const ConnectFailure failure = connectFailure(socket, loopback(server.port()));
    EXPECT_GE(secondsSince(start), 0.25);
    EXPECT_LT(secondsSince(start), 3);
    EXPECT_EQ(failure.type, "SocketException");
    EXPECT_EQ(failure.code, ETIMEDOUT);
    EXPECT_EQ(failure.text, "TLS handshake timed out: " + server.address() + " (limit: 0.25 seconds)");
}

TEST(SSLHandshake, TricklingServerTimesOutAsASilentOne)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            // The start of a long handshake record.
            connection.sendSlowly(std::string("\x16\x03\x03\x3f\x00\x02", 6) + std::string(4000, '\0'),
                                  milliseconds(10));
        });
    Socket socket(trustingClient());
    socket.setConnectTimeout(Timeout::relative(0.3F));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(connectFailure(socket, loopback(server.port())).code, ETIMEDOUT);
    EXPECT_GE(secondsSince(start), 0.3);
    EXPECT_LT(secondsSince(start), 5);
}

TEST(SSLHandshake, ConnectAndHandshakeShareOneDeadline)
{
    // Eight silent addresses put the last one off by two seconds; its handshake has what is left.
    const zol_test::SilentPort silent;
    const zol_test::Descriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const SocketAddress other = SocketAddress::getByName("127.0.0.9", silent.port());
    ASSERT_EQ(::bind(listener.get(), other.getNativeForm(), sizeof(sockaddr_in)), 0);
    ASSERT_EQ(::listen(listener.get(), 5), 0);
    std::vector<std::string> addresses(8, "127.0.0.1");
    addresses.emplace_back("127.0.0.9");
    const ScriptedResolver resolver("some.example", addresses);
    Socket socket(trustingClient());
    socket.setConnectTimeout(Timeout::relative(3));
    const Clock::time_point start = Clock::now();
    const ConnectFailure failure = connectFailure(socket, SocketAddress::getByName("some.example", silent.port()));
    EXPECT_GE(secondsSince(start), 3);
    EXPECT_LT(secondsSince(start), 4.5);
    const std::string port = std::to_string(silent.port());
    EXPECT_THAT(failure.text, testing::StartsWith("TLS handshake timed out: 127.0.0.9:" + port +
                                                  "; also tried: 127.0.0.1:" + port + "; 127.0.0.1:"));
    EXPECT_THAT(failure.text, testing::EndsWith("127.0.0.1:" + port + " (limit: 3 seconds)"));
}

TEST(SSLHandshake, PlainTextServerIsRecognised)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.send("HTTP/1.1 400 Bad Request\r\n\r\n");
            connection.waitUntilPeerCloses();
        });
    const ConnectFailure failure = failureAt(server, trustingClient());
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_EQ(failure.text, "SSL connect error: 127.0.0.1 (" + server.address() +
                                "): wrong version number; does the server speak TLS on this port?");
}

TEST(SSLHandshake, PeerThatClosesIsNamed)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receive(1);
            connection.shutdownWrite();
            connection.waitUntilPeerCloses();
        });
    const ConnectFailure failure = failureAt(server, trustingClient());
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_EQ(failure.text, "SSL connect error: 127.0.0.1 (" + server.address() +
                                "): the peer closed the connection during the handshake");
}

TEST(SSLHandshake, PeerThatResetsRaisesNoSignalAndLeavesErrno)
{
    ::signal(SIGPIPE, SIG_DFL);
    ScriptedServer server(resetAfterOneByte);
    const ConnectFailure failure = failureAt(server, trustingClient());
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_EQ(failure.code, ECONNRESET);
    EXPECT_THAT(failure.text,
                HasSubstr("SSL connect error: 127.0.0.1 (" + server.address() + "): 104(Connection reset"));
}

TEST(SSLHandshake, RefusedConnectIsASocketException)
{
    const zol_test::LoopbackSocket closed(zol_test::LoopbackSocket::E_BOUND);
    Socket socket(trustingClient());
    const ConnectFailure failure = connectFailure(socket, loopback(closed.port));
    EXPECT_EQ(failure.type, "SocketException");
    EXPECT_EQ(failure.code, ECONNREFUSED);
}

TEST(SSLHandshake, SignalsDoNotEndIt)
{
    ScriptedServer server(tlsServer(), greet);
    const SSLClientCtxRef context = trustingClient();
    const zol_test::SignalStorm storm;
    for (int i = 0; i < 20; ++i)
    {
        Socket socket(context);
        socket.connect(loopback(server.port()));
        EXPECT_EQ(readUpTo(socket, 6), "hello");
    }
}

TEST(SSLHandshake, FailuresLeaveNoDescriptorAndNoErrorBehind)
{
    ScriptedServer silent([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    ScriptedServer unverified(tlsServer(), greet);
    const SSLClientCtxRef distrusting = zol_test::clientTrusting(zol_test::makeAuthority("stranger"));
    const auto failAll = [&](std::size_t connections)
    {
        Socket socket(distrusting);
        socket.setConnectTimeout(Timeout::relative(0.05F));
        connectFailure(socket, loopback(silent.port()));
        EXPECT_EQ(ERR_peek_error(), 0U);
        socket.setConnectTimeout(Timeout::infinite);
        connectFailure(socket, loopback(unverified.port()));
        EXPECT_EQ(ERR_peek_error(), 0U);
        EXPECT_TRUE(silent.waitForConnections(connections));
        EXPECT_TRUE(silent.waitUntilIdle());
        EXPECT_TRUE(unverified.waitForConnections(connections));
        EXPECT_TRUE(unverified.waitUntilIdle());
    };
    failAll(1);
    const std::size_t before = zol_test::openDescriptors();
    failAll(2);
    EXPECT_EQ(zol_test::openDescriptors(), before);
    unverified.ignoreErrors();
}
