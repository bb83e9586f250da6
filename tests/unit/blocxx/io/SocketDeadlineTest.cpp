#include "Peers.hpp"
#include "SystemCalls.hpp"
#include "TLSPeers.hpp"
#include "Transfers.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Cancellation.hpp"
#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <istream>
#include <thread>

using blocxx::IOIFC;
using blocxx::IOIFCStreamBuffer;
using blocxx::Socket;
using blocxx::SocketException;
using blocxx::Timeout;
using zol_test::ConnectFailure;
using zol_test::connectFailure;
using zol_test::LARGE;
using zol_test::loopback;
using zol_test::readUpTo;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::sizeOf;
using zol_test::SystemCalls;
using zol_test::tlsServer;
using zol_test::trustingClient;
using zol_test::withSmallBuffers;

namespace
{

void waitForThePeer(ServerConnection& connection)
{
    connection.waitUntilPeerCloses();
}

void sendFour(ServerConnection& connection)
{
    connection.send("data");
    connection.waitUntilPeerCloses();
}

class SocketDeadline : public testing::TestWithParam<bool>
{
protected:
    SocketDeadline() { m_socket.setTimeouts(Timeout::relative(20)); }

    static ScriptedServer::Options options() { return GetParam() ? tlsServer() : ScriptedServer::Options(); }

    void expectReadFailed()
    {
        char byte = 0;
        errno = 0;
        EXPECT_EQ(m_socket.read(&byte, 1), -1);
        expectDeadline();
        EXPECT_EQ(m_socket.lastErrorText(), "the deadline has passed");
    }

    void expectDeadline()
    {
        EXPECT_EQ(errno, ETIMEDOUT);
        EXPECT_TRUE(m_socket.deadlineExpired());
        EXPECT_FALSE(m_socket.receiveTimeOutExpired());
        EXPECT_TRUE(m_socket.isConnected());
    }

    Socket m_socket{GetParam() ? trustingClient() : blocxx::SSLClientCtxRef()};
};

} // namespace

TEST_P(SocketDeadline, EndsReadsWhateverTheirProgress)
{
    ScriptedServer server(options(), [](ServerConnection& connection)
                          { connection.sendSlowly(std::string(1000, 'x'), std::chrono::milliseconds(10)); });
    m_socket.connect(loopback(server.port()));
    m_socket.setDeadline(Timeout::relative(0.3F));
    std::size_t got = 0;
    char byte = 0;
    while (m_socket.read(&byte, 1) > 0)
    {
        ++got;
    }
    expectDeadline();
    EXPECT_GT(got, 0U);
    EXPECT_LT(got, 1000U);
    m_socket.disconnect();
}

TEST_P(SocketDeadline, EndsAReadThatWaits)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    m_socket.setDeadline(Timeout::relative(0.1F));
    EXPECT_FALSE(m_socket.deadlineExpired());
    expectReadFailed();
}

TEST_P(SocketDeadline, FailsAReadThoughDataIsThereUntilItIsTakenAway)
{
    ScriptedServer server(options(), sendFour);
    m_socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(m_socket, 1), "d");
    EXPECT_FALSE(m_socket.waitForInput());
    m_socket.setDeadline(Timeout::relative(0));
    expectReadFailed();
    m_socket.setDeadline(Timeout::infinite);
    EXPECT_FALSE(m_socket.deadlineExpired());
    EXPECT_EQ(readUpTo(m_socket, 3), "ata");
    EXPECT_EQ(m_socket.lastErrorText(), "");
}

TEST_P(SocketDeadline, IsFixedWhenItIsSet)
{
    ScriptedServer server(options(), sendFour);
    m_socket.connect(loopback(server.port()));
    m_socket.setDeadline(Timeout::relative(0.05F));
    std::this_thread::sleep_for(std::chrono::milliseconds(80));
    EXPECT_FALSE(m_socket.deadlineExpired()) << "nothing has failed yet";
    expectReadFailed();
}

TEST_P(SocketDeadline, IsToldFromATimeWithoutProgress)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    m_socket.setDeadline(Timeout::relative(30));
    m_socket.setReceiveTimeout(Timeout::relative(0.05F));
    char byte = 0;
    EXPECT_EQ(m_socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_TRUE(m_socket.receiveTimeOutExpired());
    EXPECT_FALSE(m_socket.deadlineExpired());
    EXPECT_EQ(m_socket.lastErrorText(), "");
}

TEST_P(SocketDeadline, EndsAWriteThatWaits)
{
    ScriptedServer server(withSmallBuffers(options()),
                          [](ServerConnection& connection) { connection.pause(std::chrono::seconds(30)); });
    m_socket.connect(loopback(server.port()));
    m_socket.setDeadline(Timeout::relative(0.1F));
    EXPECT_EQ(m_socket.write(LARGE.data(), sizeOf(LARGE)), -1);
    expectDeadline();
    EXPECT_EQ(m_socket.write("x", 1), -1);
    expectDeadline();
}

TEST_P(SocketDeadline, EndsALargeWriteToAPeerThatTakesEverything)
{
    ScriptedServer server(options(), waitForThePeer);
    server.ignoreErrors();
    m_socket.connect(loopback(server.port()));
    m_socket.setDeadline(Timeout::relative(0.2F));
    SystemCalls calls;
    std::size_t sent = 0;
    calls.onSend = [&](int, const void*, std::size_t length, int)
    {
        sent += length;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        return static_cast<ssize_t>(length);
    };
    EXPECT_EQ(m_socket.write(LARGE.data(), sizeOf(LARGE)), -1);
    expectDeadline();
    EXPECT_LT(sent, LARGE.size());
}

TEST_P(SocketDeadline, EndsAConnectThatWaits)
{
    const zol_test::SilentPort silent;
    ScriptedServer mute(waitForThePeer);
    const std::uint16_t port = GetParam() ? mute.port() : silent.port();
    m_socket.setDeadline(Timeout::relative(0.1F));
    const ConnectFailure failure = connectFailure(m_socket, loopback(port));
    EXPECT_EQ(failure.type, "SocketException");
    EXPECT_EQ(failure.code, ETIMEDOUT);
    EXPECT_EQ(failure.text, std::string(GetParam() ? "TLS handshake" : "connect") +
                                " timed out: 127.0.0.1:" + std::to_string(port) + " (deadline)");
    EXPECT_TRUE(m_socket.deadlineExpired());
}

TEST_P(SocketDeadline, HoldsForLaterConnects)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.setDeadline(Timeout::relative(0));
    const ConnectFailure failure = connectFailure(m_socket, loopback(server.port()));
    EXPECT_EQ(failure.code, ETIMEDOUT);
    EXPECT_EQ(failure.text, "connect timed out: " + server.address() + " (deadline)");
    m_socket.setDeadline(Timeout::relative(30));
    EXPECT_NO_THROW(m_socket.connect(loopback(server.port())));
}

TEST_P(SocketDeadline, DoesNotHideTheLimitOfTheConnect)
{
    const zol_test::SilentPort silent;
    ScriptedServer mute(waitForThePeer);
    m_socket.setDeadline(Timeout::relative(30));
    m_socket.setConnectTimeout(Timeout::relative(0.1F));
    const ConnectFailure failure = connectFailure(m_socket, loopback(GetParam() ? mute.port() : silent.port()));
    EXPECT_NE(failure.text.find("(limit: 0.1 seconds)"), std::string::npos) << failure.text;
    EXPECT_FALSE(m_socket.deadlineExpired());
}

TEST_P(SocketDeadline, EndsTheWaitsForInputAndOutput)
{
    ScriptedServer server(options(), sendFour);
    m_socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(m_socket, 1), "d");
    EXPECT_FALSE(m_socket.waitForInput());
    m_socket.setDeadline(Timeout::relative(0));
    errno = 0;
    EXPECT_TRUE(m_socket.waitForInput(Timeout::relative(20)));
    expectDeadline();
    errno = 0;
    EXPECT_TRUE(m_socket.waitForOutput(Timeout::relative(20)));
    expectDeadline();
}

TEST_P(SocketDeadline, GivesWayToACancellation)
{
    ScriptedServer server(options(), sendFour);
    m_socket.connect(loopback(server.port()));
    m_socket.setDeadline(Timeout::relative(0));
    const blocxx::Cancellation cancellation;
    m_socket.setCancellation(cancellation);
    expectReadFailed();
    cancellation.cancel();
    char byte = 0;
    EXPECT_EQ(m_socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_EQ(m_socket.lastErrorText(), "");
}

TEST_P(SocketDeadline, IsTheReasonThatAStreamBufferKeeps)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    IOIFCStreamBuffer buffer(&m_socket);
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    m_socket.setDeadline(Timeout::relative(0));
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.inputError(), ETIMEDOUT);
    EXPECT_EQ(buffer.inputErrorText(), "the deadline has passed");
}

TEST_P(SocketDeadline, IsInTheTextOfWhatAReadThrows)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    m_socket.setDeadline(Timeout::relative(0));
    char byte = 0;
    try
    {
        m_socket.read(&byte, 1, IOIFC::E_THROW_ON_ERROR);
        FAIL() << "no exception";
    }
    catch (const SocketException& e)
    {
        EXPECT_EQ(e.getErrorCode(), ETIMEDOUT);
        EXPECT_NE(std::string(e.getMessage()).find("the deadline has passed"), std::string::npos) << e.getMessage();
    }
}

INSTANTIATE_TEST_SUITE_P(Sockets, SocketDeadline, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& tls) { return tls.param ? "TLS" : "Plain"; });
