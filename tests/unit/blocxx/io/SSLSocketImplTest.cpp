#include "Peers.hpp"
#include "ScriptedResolver.hpp"
#include "SystemCalls.hpp"
#include "TLSPeers.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using blocxx::IOIFC;
using blocxx::Socket;
using blocxx::SocketAddress;
using blocxx::SocketException;
using blocxx::SSLClientCtxRef;
using blocxx::Timeout;
using testing::HasSubstr;
using zol_test::Clock;
using zol_test::ConnectFailure;
using zol_test::connectFailure;
using zol_test::loopback;
using zol_test::readUpTo;
using zol_test::ScriptedResolver;
using zol_test::ScriptedServer;
using zol_test::secondsSince;
using zol_test::ServerConnection;
using zol_test::SystemCalls;
using zol_test::tlsServer;
using zol_test::trustingClient;

namespace
{

using std::chrono::milliseconds;

// With TLS 1.3 the client's handshake is over before the server looks at its certificate.
ScriptedServer::Options serverThatAsksForACertificate()
{
    ScriptedServer::Options options = tlsServer();
    options.adjust = [](SSL_CTX* context)
    { SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr); };
    return options;
}

void doNothing(ServerConnection&) {}

void waitForThePeer(ServerConnection& connection)
{
    connection.waitUntilPeerCloses();
}

bool updateKey(ServerConnection& connection)
{
    return SSL_key_update(connection.ssl(), SSL_KEY_UPDATE_NOT_REQUESTED) == 1 &&
           SSL_do_handshake(connection.ssl()) == 1;
}

} // namespace

TEST(SSLErrorText, OfARefusalAfterTheHandshakeIsOpenSSLsReason)
{
    ScriptedServer server(serverThatAsksForACertificate(), doNothing);
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    EXPECT_EQ(socket.lastErrorText(), "");
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_THAT(socket.lastErrorText().c_str(), HasSubstr("certificate required"));
    EXPECT_EQ(ERR_peek_error(), 0U);
    server.errors();
}

TEST(SSLErrorText, StaysWithTheFailedSession)
{
    ScriptedServer server(serverThatAsksForACertificate(), doNothing);
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    char byte = 0;
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(socket.read(&byte, 1), -1);
        EXPECT_EQ(errno, EPROTO);
        EXPECT_THAT(socket.lastErrorText().c_str(), HasSubstr("certificate required"));
    }
    EXPECT_EQ(socket.write(&byte, 1), -1);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_THAT(socket.lastErrorText().c_str(), HasSubstr("certificate required"));
    server.errors();
}

TEST(SSLErrorText, IsInTheExceptionWhenOneIsAskedFor)
{
    ScriptedServer server(serverThatAsksForACertificate(), doNothing);
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    char byte = 0;
    try
    {
        socket.read(&byte, 1, IOIFC::E_THROW_ON_ERROR);
        FAIL() << "no exception";
    }
    catch (const SocketException& e)
    {
        EXPECT_EQ(e.getErrorCode(), EPROTO);
        EXPECT_THAT(e.getMessage(), testing::StartsWith("SocketBaseImpl::read: "));
        EXPECT_THAT(e.getMessage(), HasSubstr("certificate required"));
        EXPECT_THAT(e.getMessage(), testing::EndsWith(": 71(Protocol error)"));
    }
    server.errors();
}

TEST(SSLErrorText, OfACutSaysThatCloseNotifyIsMissing)
{
    ScriptedServer server(tlsServer(), [](ServerConnection& connection) { connection.cut(); });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_EQ(socket.lastErrorText(), "the connection ended without close-notify");
}

TEST(SSLErrorText, IsEmptyWhereErrnoSaysItAllAndAfterASuccess)
{
    std::promise<void> more;
    ScriptedServer server(tlsServer(),
                          [&](ServerConnection& connection)
                          {
                              more.get_future().wait_for(std::chrono::seconds(10));
                              connection.send("x");
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.05F));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(socket.lastErrorText(), "");
    more.set_value();
    socket.setReceiveTimeout(Timeout::relative(10));
    EXPECT_EQ(socket.read(&byte, 1), 1);
    EXPECT_EQ(socket.lastErrorText(), "");
}

TEST(SSLErrorText, DoesNotOutliveItsConnection)
{
    ScriptedServer refusing(serverThatAsksForACertificate(), doNothing);
    ScriptedServer server(tlsServer(), [](ServerConnection& connection) { connection.cut(); });
    Socket socket(trustingClient());
    socket.connect(loopback(refusing.port()));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    socket.connect(loopback(server.port()));
    EXPECT_EQ(socket.lastErrorText(), "");
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(socket.lastErrorText(), "the connection ended without close-notify");
    refusing.errors();
}

TEST(SSLRead, KeyUpdatesDoNotRestartTheLimit)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              // Longer than the test waits.
                              for (int i = 0; i < 300 && updateKey(connection); ++i)
                              {
                                  connection.pause(milliseconds(100));
                              }
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.5F));
    char byte = 0;
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_TRUE(socket.receiveTimeOutExpired());
    EXPECT_GE(secondsSince(start), 0.5);
    EXPECT_LT(secondsSince(start), 15);
}

TEST(SSLRead, DataAfterTheSessionTicketsNeedsNoTime)
{
    std::promise<void> sent;
    ScriptedServer server(tlsServer(),
                          [&](ServerConnection& connection)
                          {
                              connection.send("data");
                              sent.set_value();
                              connection.waitUntilPeerCloses();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    ASSERT_EQ(sent.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    socket.setReceiveTimeout(Timeout::relative(0));
    EXPECT_EQ(readUpTo(socket, 4), "data");
}

TEST(SSLRead, ARowOfKeyUpdatesThatDoesNotEndIsLeftWhenTheTimeIsUp)
{
    std::promise<void> sent;
    ScriptedServer server(tlsServer(),
                          [&](ServerConnection& connection)
                          {
                              for (int i = 0; i < 200; ++i)
                              {
                                  EXPECT_TRUE(updateKey(connection));
                              }
                              connection.send("data");
                              sent.set_value();
                              connection.waitUntilPeerCloses();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    ASSERT_EQ(sent.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    socket.setReceiveTimeout(Timeout::relative(0));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    socket.setReceiveTimeout(Timeout::relative(30));
    EXPECT_EQ(readUpTo(socket, 4), "data");
}

TEST(SSLWrite, ASpuriousWakeUpDoesNotRestartTheLimit)
{
    ScriptedServer server(tlsServer(), waitForThePeer);
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setSendTimeout(Timeout::relative(100));
    SystemCalls calls;
    calls.onSend = [](int, const void*, std::size_t, int) -> ssize_t
    {
        errno = EAGAIN;
        return -1;
    };
    std::vector<int> limits;
    calls.onPoll = [&](pollfd* waiting, nfds_t, int limit)
    {
        limits.push_back(limit);
        std::this_thread::sleep_for(milliseconds(20));
        waiting->revents = waiting->events;
        errno = ENOMEM;
        return limits.size() == 2 ? -1 : 1;
    };
    EXPECT_EQ(socket.write("x", 1), -1);
    ASSERT_EQ(limits.size(), 2U);
    EXPECT_LT(limits[1], limits[0]);
}

// What OpenSSL is left with when it runs out of memory while it copies what the certificate has to carry.

class SSLForgottenIdentity : public testing::TestWithParam<const char*>
{
protected:
    static int verifyWithoutIdentity(X509_STORE_CTX* verification, void*)
    {
        X509_VERIFY_PARAM* const expected = X509_STORE_CTX_get0_param(verification);
        X509_VERIFY_PARAM_set1_host(expected, nullptr, 0);
        X509_VERIFY_PARAM_set1_ip(expected, nullptr, 0);
        return X509_verify_cert(verification);
    }

    static SSLClientCtxRef forgetfulClient()
    {
        SSLClientCtxRef context = trustingClient();
        SSL_CTX_set_cert_verify_callback(context->getSSLCtx(), verifyWithoutIdentity, nullptr);
        return context;
    }
};

TEST_P(SSLForgottenIdentity, IsComparedOnceMoreAfterTheHandshake)
{
    zol_test::CertificateFields fields;
    fields.dnsNames = {"other.example"};
    fields.ipAddresses = {"127.0.0.2"};
    ScriptedServer server(tlsServer(zol_test::issue(zol_test::testAuthority(), fields)), waitForThePeer);
    const ScriptedResolver resolver(GetParam(), {"127.0.0.1"});
    Socket socket(forgetfulClient());
    const ConnectFailure failure = connectFailure(socket, SocketAddress::getByName(GetParam(), server.port()));
    EXPECT_EQ(failure.type, "SSLException");
    EXPECT_THAT(failure.text, HasSubstr(std::string("certificate verify failed for ") + GetParam()));
    EXPECT_THAT(failure.text, HasSubstr(" mismatch; "));
    EXPECT_FALSE(socket.peerCertVerified());
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST_P(SSLForgottenIdentity, ThatMatchesConnects)
{
    ScriptedServer server(tlsServer(), [](ServerConnection& connection) { connection.send("hello"); });
    const ScriptedResolver resolver(GetParam(), {"127.0.0.1"});
    Socket socket(forgetfulClient());
    socket.connect(SocketAddress::getByName(GetParam(), server.port()));
    EXPECT_EQ(readUpTo(socket, 5), "hello");
}

INSTANTIATE_TEST_SUITE_P(Hosts, SSLForgottenIdentity,
                         testing::Values("server.example", "server.example.", "any.wild.example", "127.0.0.1"));

TEST(SSLPeer, IsVerifiedWhileConnectedUnlessVerificationIsDisabled)
{
    ScriptedServer server(tlsServer(), waitForThePeer);
    Socket socket(trustingClient());
    EXPECT_FALSE(socket.peerCertVerified());
    EXPECT_EQ(socket.getSSL(), nullptr);
    socket.connect(loopback(server.port()));
    EXPECT_TRUE(socket.peerCertVerified());
    ASSERT_NE(socket.getSSL(), nullptr);
    EXPECT_STREQ(SSL_get_version(socket.getSSL()), "TLSv1.3");
    socket.disconnect();
    EXPECT_FALSE(socket.peerCertVerified());
    EXPECT_EQ(socket.getSSL(), nullptr);

    Socket unchecked(zol_test::uncheckedClient());
    unchecked.connect(loopback(server.port()));
    EXPECT_FALSE(unchecked.peerCertVerified());
}

TEST(SSLClose, OfACopyInAForkedChildSendsNothing)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              EXPECT_EQ(connection.receive(4), "ping");
                              connection.send("pong");
                          });
    auto socket = std::make_unique<Socket>(trustingClient());
    socket->connect(loopback(server.port()));
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        socket.reset();
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(socket->write("ping", 4), 4);
    EXPECT_EQ(readUpTo(*socket, 5), "pong");
}

TEST(SSLWait, InputIsReadyWhileDecryptedBytesAreLeft)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              connection.send("ab");
                              connection.waitUntilPeerCloses();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 1), "a");
    EXPECT_FALSE(socket.waitForInput(Timeout::relative(0)));
    EXPECT_EQ(readUpTo(socket, 1), "b");
    EXPECT_TRUE(socket.waitForInput(Timeout::relative(0)));
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_FALSE(socket.waitForOutput(Timeout::relative(0)));
}
