#include "Peers.hpp"
#include "TLSPeers.hpp"
#include "Transfers.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TemporaryDirectory.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/SSLException.hpp"
#include "blocxx/Socket.hpp"
#include "blocxx/SocketException.hpp"

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

using blocxx::Cancellation;
using blocxx::Socket;
using blocxx::SocketException;
using blocxx::SSLClientCtxRef;
using blocxx::SSLOpts;
using blocxx::Timeout;
using zol_test::LARGE;
using zol_test::loopback;
using zol_test::readUpTo;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::sizeOf;
using zol_test::tlsServer;
using zol_test::trustingClient;
using zol_test::withSmallBuffers;

namespace
{

/// Plain and with TLS.
class SocketGivingWay : public testing::TestWithParam<bool>
{
protected:
    static ScriptedServer::Options options() { return GetParam() ? tlsServer() : ScriptedServer::Options(); }

    static Socket connectedTo(const ScriptedServer& server)
    {
        Socket socket(GetParam() ? trustingClient() : SSLClientCtxRef());
        socket.connect(loopback(server.port()));
        return socket;
    }
};

TEST_P(SocketGivingWay, WritesAllToAPeerThatSaysNothing)
{
    ScriptedServer server(withSmallBuffers(options()),
                          [](ServerConnection& connection) { connection.receive(LARGE.size()); });
    Socket socket = connectedTo(server);
    EXPECT_EQ(socket.writeUnlessInput(LARGE.data(), sizeOf(LARGE)), sizeOf(LARGE));
    socket.disconnect();
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_TRUE(server.requests().at(0) == LARGE);
}

TEST_P(SocketGivingWay, ReturnsWhenThePeerSpeaks)
{
    ScriptedServer server(withSmallBuffers(options()),
                          [](ServerConnection& connection)
                          {
                              connection.receive(1000);
                              connection.send("stop");
                              connection.waitUntilPeerCloses();
                          });
    Socket socket = connectedTo(server);
    const int written = socket.writeUnlessInput(LARGE.data(), sizeOf(LARGE));
    EXPECT_GE(written, 0);
    EXPECT_LT(written, sizeOf(LARGE));
    EXPECT_EQ(readUpTo(socket, 4), "stop");
}

TEST_P(SocketGivingWay, WritesNothingOnceInputIsThere)
{
    ScriptedServer server(options(),
                          [](ServerConnection& connection)
                          {
                              connection.send("first");
                              connection.waitUntilPeerCloses();
                          });
    Socket socket = connectedTo(server);
    ASSERT_TRUE(socket.hasInput(Timeout::relative(10)));
    EXPECT_EQ(socket.writeUnlessInput("x", 1), 0);
    EXPECT_EQ(readUpTo(socket, 5), "first");
    EXPECT_EQ(socket.writeUnlessInput("x", 1), 1);
}

TEST_P(SocketGivingWay, CanBeContinuedAfterTheInputWasRead)
{
    ScriptedServer server(withSmallBuffers(options()),
                          [](ServerConnection& connection)
                          {
                              connection.receive(1000);
                              connection.send("x");
                              connection.receive(LARGE.size() - 1000);
                          });
    Socket socket = connectedTo(server);
    int written = socket.writeUnlessInput(LARGE.data(), sizeOf(LARGE));
    ASSERT_GE(written, 0);
    EXPECT_EQ(readUpTo(socket, 1), "x");
    const int rest = socket.writeUnlessInput(LARGE.data() + written, sizeOf(LARGE) - written);
    EXPECT_EQ(written + rest, sizeOf(LARGE));
    socket.disconnect();
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_TRUE(server.requests().at(0) == LARGE);
}

TEST_P(SocketGivingWay, TimesOutWhenNothingMoves)
{
    ScriptedServer server(withSmallBuffers(options()),
                          [](ServerConnection& connection) { connection.pause(std::chrono::seconds(10)); });
    Socket socket = connectedTo(server);
    socket.setSendTimeout(Timeout::relative(0.2F));
    EXPECT_EQ(socket.writeUnlessInput(LARGE.data(), sizeOf(LARGE)), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
}

TEST_P(SocketGivingWay, EndsWhenItIsCancelled)
{
    ScriptedServer server(options(), [](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Socket socket = connectedTo(server);
    const Cancellation cancellation;
    socket.setCancellation(cancellation);
    cancellation.cancel();
    EXPECT_EQ(socket.writeUnlessInput("x", 1), -1);
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_FALSE(socket.hasInput(Timeout::relative(10)));
    EXPECT_EQ(errno, ECANCELED);
    socket.setCancellation(std::nullopt);
    EXPECT_EQ(socket.writeUnlessInput("x", 1), 1);
}

TEST_P(SocketGivingWay, HasInputOnceDataOrTheEndIsThere)
{
    ScriptedServer server(options(),
                          [](ServerConnection& connection)
                          {
                              connection.receive(1);
                              connection.send("x");
                              connection.receive(1);
                          });
    Socket socket = connectedTo(server);
    EXPECT_FALSE(socket.hasInput());
    EXPECT_FALSE(socket.hasInput(Timeout::relative(0.1F))); // session tickets are no input
    EXPECT_EQ(errno, ETIMEDOUT);
    socket.write("a", 1);
    EXPECT_TRUE(socket.hasInput(Timeout::relative(10)));
    EXPECT_TRUE(socket.hasInput());
    EXPECT_EQ(readUpTo(socket, 1), "x");
    socket.write("b", 1);
    EXPECT_TRUE(socket.hasInput(Timeout::relative(10)));
    EXPECT_EQ(readUpTo(socket, 1), "");
}

TEST_P(SocketGivingWay, OfASocketThatIsNotConnectedFails)
{
    Socket socket(GetParam() ? trustingClient() : SSLClientCtxRef());
    EXPECT_EQ(socket.writeUnlessInput("x", 1), -1);
    EXPECT_EQ(errno, ENOTCONN);
    EXPECT_FALSE(socket.hasInput());
    EXPECT_EQ(errno, ENOTCONN);
}

INSTANTIATE_TEST_SUITE_P(Sockets, SocketGivingWay, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& kind) { return kind.param ? "TLS" : "Plain"; });

TEST(SSLHandshakeReached, IsToldFromAFailedConnect)
{
    std::uint16_t closedPort = 0;
    {
        const ScriptedServer server([](ServerConnection&) {});
        closedPort = server.port();
    }
    Socket socket(trustingClient());
    EXPECT_THROW(socket.connect(loopback(closedPort)), SocketException);
    EXPECT_FALSE(socket.reachedHandshake());
    const ScriptedServer silent([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    socket.setConnectTimeout(Timeout::relative(0.3F));
    EXPECT_THROW(socket.connect(loopback(silent.port())), SocketException);
    EXPECT_TRUE(socket.reachedHandshake());
}

TEST(SSLOwnCertificate, IsNotShownWhenItIsNotToBeUsed)
{
    ScriptedServer::Options asking = tlsServer();
    asking.adjust = [](SSL_CTX* context)
    { SSL_CTX_set_verify(context, SSL_VERIFY_PEER, [](int, X509_STORE_CTX*) { return 1; }); };
    ScriptedServer server(asking,
                          [](ServerConnection& connection)
                          {
                              connection.send(SSL_get0_peer_certificate(connection.ssl()) != nullptr ? "shown"
                                                                                                     : "none!");
                              connection.waitUntilPeerCloses();
                          });
    const zol_test::TemporaryDirectory folder;
    SSLOpts opts;
    opts.certfile = folder.write("certificate.pem", zol_test::serverCertificate().certificatePem()).c_str();
    opts.keyfile = folder.write("key.pem", zol_test::serverCertificate().keyPem()).c_str();
    opts.inMemoryTrustStore.push_back(zol_test::testAuthority().x509.get());
    Socket socket(SSLClientCtxRef(new blocxx::SSLClientCtx(opts)));
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 5), "shown");
    socket.setOwnCertificateUsed(false);
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 5), "none!");
    socket.setOwnCertificateUsed(true);
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 5), "shown");
}

} // namespace
