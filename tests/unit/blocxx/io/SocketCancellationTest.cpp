#include "ForkedChild.hpp"
#include "Peers.hpp"
#include "SystemCalls.hpp"
#include "TLSPeers.hpp"
#include "Transfers.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Cancellation.hpp"
#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <istream>
#include <thread>

using blocxx::BaseStreamBuffer;
using blocxx::Cancellation;
using blocxx::IOIFC;
using blocxx::IOIFCStreamBuffer;
using blocxx::Socket;
using blocxx::SocketException;
using blocxx::Timeout;
using zol_test::ConnectFailure;
using zol_test::connectFailure;
using zol_test::exitStatusOfFork;
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

// Where a cancellation wakes nobody, the socket's time-outs end the wait, and `errno` tells so.

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

/// Does something a while after it was made, on a thread of its own.
class Soon
{
public:
    explicit Soon(std::function<void()> action)
        : m_thread(
              [action = std::move(action)]
              {
                  std::this_thread::sleep_for(std::chrono::milliseconds(50));
                  action();
              })
    {
    }
    Soon(const Soon&) = delete;
    Soon& operator=(const Soon&) = delete;
    ~Soon() { m_thread.join(); }

private:
    std::thread m_thread;
};

const Cancellation* cancelledBySignal = nullptr;

void cancelIt(int)
{
    cancelledBySignal->cancel();
}

class SocketCancellation : public testing::TestWithParam<bool>
{
protected:
    SocketCancellation()
    {
        m_socket.setTimeouts(Timeout::relative(20));
        m_socket.setCancellation(m_cancellation);
    }

    static ScriptedServer::Options options() { return GetParam() ? tlsServer() : ScriptedServer::Options(); }

    std::function<void()> cancelling() const
    {
        return [cancellation = m_cancellation] { cancellation.cancel(); };
    }

    void expectReadCancelled()
    {
        char byte = 0;
        errno = 0;
        EXPECT_EQ(m_socket.read(&byte, 1), -1);
        EXPECT_EQ(errno, ECANCELED);
        EXPECT_FALSE(m_socket.receiveTimeOutExpired());
        EXPECT_FALSE(m_socket.deadlineExpired());
        EXPECT_TRUE(m_socket.isConnected());
    }

    Cancellation m_cancellation;
    Socket m_socket{GetParam() ? trustingClient() : blocxx::SSLClientCtxRef()};
};

} // namespace

TEST_P(SocketCancellation, EndsAReadThatWaits)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    const Soon soon(cancelling());
    expectReadCancelled();
    expectReadCancelled();
}

TEST_P(SocketCancellation, FailsAReadThoughDataIsThere)
{
    ScriptedServer server(options(), sendFour);
    m_socket.connect(loopback(server.port()));
    // Under TLS the rest of the record waits in memory then.
    EXPECT_EQ(readUpTo(m_socket, 1), "d");
    EXPECT_FALSE(m_socket.waitForInput());
    m_cancellation.cancel();
    expectReadCancelled();
}

TEST_P(SocketCancellation, WinsOverDataThatArrivesWithIt)
{
    ScriptedServer server(options(),
                          [this](ServerConnection& connection)
                          {
                              connection.receive(1);
                              m_cancellation.cancel();
                              connection.send("data");
                              connection.waitUntilPeerCloses();
                          });
    m_socket.connect(loopback(server.port()));
    m_socket.write("x", 1);
    SystemCalls calls;
    calls.onPoll = [](pollfd* polled, nfds_t count, int limit)
    {
        // Does not look before the data is there as well.
        ::pollfd data{polled[0].fd, POLLIN, 0};
        SystemCalls::poll(&data, 1, 10000);
        return SystemCalls::poll(polled, count, limit);
    };
    expectReadCancelled();
}

TEST_P(SocketCancellation, EndsAReadThatASignalHandlerOfTheThreadCancels)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    cancelledBySignal = &m_cancellation;
    ::signal(SIGUSR2, cancelIt);
    {
        const Soon soon([reader = ::pthread_self()] { ::pthread_kill(reader, SIGUSR2); });
        expectReadCancelled();
    }
    ::signal(SIGUSR2, SIG_DFL);
}

TEST_P(SocketCancellation, EndsAWriteThatWaits)
{
    ScriptedServer server(withSmallBuffers(options()),
                          [](ServerConnection& connection) { connection.pause(std::chrono::seconds(30)); });
    m_socket.connect(loopback(server.port()));
    const Soon soon(cancelling());
    EXPECT_EQ(m_socket.write(LARGE.data(), sizeOf(LARGE)), -1);
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_EQ(m_socket.write("x", 1), -1);
    EXPECT_EQ(errno, ECANCELED);
}

TEST_P(SocketCancellation, FailsAWriteThatWouldFit)
{
    ScriptedServer server(options(), [](ServerConnection& connection) { EXPECT_EQ(connection.receiveUntilEnd(), ""); });
    m_socket.connect(loopback(server.port()));
    m_cancellation.cancel();
    EXPECT_EQ(m_socket.write("x", 1), -1);
    EXPECT_EQ(errno, ECANCELED);
    m_socket.disconnect();
    EXPECT_TRUE(server.waitUntilIdle());
}

TEST_P(SocketCancellation, EndsALargeWriteToAPeerThatTakesEverything)
{
    ScriptedServer server(options(), [](ServerConnection& connection) { connection.discard(LARGE.size()); });
    server.ignoreErrors();
    m_socket.connect(loopback(server.port()));
    SystemCalls calls;
    std::size_t sent = 0;
    calls.onSend = [&](int, const void*, std::size_t length, int)
    {
        sent += length;
        m_cancellation.cancel();
        return static_cast<ssize_t>(length);
    };
    EXPECT_EQ(m_socket.write(LARGE.data(), sizeOf(LARGE)), -1);
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_GT(sent, 0U);
    EXPECT_LT(sent, LARGE.size() / 2);
}

TEST_P(SocketCancellation, EndsAConnectThatWaits)
{
    const zol_test::SilentPort silent;
    ScriptedServer mute(waitForThePeer);
    const std::uint16_t port = GetParam() ? mute.port() : silent.port();
    const Soon soon(cancelling());
    const ConnectFailure failure = connectFailure(m_socket, loopback(port));
    EXPECT_EQ(failure.type, "SocketException");
    EXPECT_EQ(failure.code, ECANCELED);
    EXPECT_EQ(failure.text, std::string(GetParam() ? "TLS handshake" : "connect") +
                                " was cancelled: 127.0.0.1:" + std::to_string(port));
}

TEST_P(SocketCancellation, LetsNoConnectStart)
{
    ScriptedServer server(options(), waitForThePeer);
    m_cancellation.cancel();
    SystemCalls calls;
    calls.onConnect = [](int, const sockaddr*, socklen_t)
    {
        ADD_FAILURE() << "a connect was started";
        errno = ECONNREFUSED;
        return -1;
    };
    const ConnectFailure failure = connectFailure(m_socket, loopback(server.port()));
    EXPECT_EQ(failure.code, ECANCELED);
    EXPECT_EQ(failure.text, "connect was cancelled: " + server.address());
}

TEST_P(SocketCancellation, BetweenConnectAndHandshakeLeavesNoConnection)
{
    ScriptedServer server(waitForThePeer);
    SystemCalls calls;
    calls.onConnect = [&](int fd, const sockaddr* address, socklen_t size)
    {
        const int result = SystemCalls::connect(fd, address, size);
        const int error = errno;
        m_cancellation.cancel();
        errno = error;
        return result;
    };
    EXPECT_EQ(connectFailure(m_socket, loopback(server.port())).code, ECANCELED);
}

TEST_P(SocketCancellation, EndsTheWaitsForInputAndOutput)
{
    ScriptedServer server(withSmallBuffers(options()),
                          [](ServerConnection& connection)
                          {
                              connection.send("data");
                              connection.pause(std::chrono::seconds(30));
                          });
    m_socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(m_socket, 1), "d");
    EXPECT_FALSE(m_socket.waitForInput());
    EXPECT_FALSE(m_socket.waitForOutput());
    m_cancellation.cancel();
    errno = 0;
    EXPECT_TRUE(m_socket.waitForInput(Timeout::relative(20)));
    EXPECT_EQ(errno, ECANCELED);
    errno = 0;
    EXPECT_TRUE(m_socket.waitForOutput(Timeout::relative(20)));
    EXPECT_EQ(errno, ECANCELED);
    EXPECT_FALSE(m_socket.receiveTimeOutExpired());
}

TEST_P(SocketCancellation, WakesAWaitForInput)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    const Soon soon(cancelling());
    // Session tickets are input as well.
    errno = 0;
    while (!m_socket.waitForInput(Timeout::relative(20)))
    {
        char byte = 0;
        m_socket.setReceiveTimeout(Timeout::relative(0));
        ASSERT_EQ(m_socket.read(&byte, 1), -1);
    }
    EXPECT_EQ(errno, ECANCELED);
}

TEST_P(SocketCancellation, EndsAllSocketsThatShareIt)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    Socket other(GetParam() ? trustingClient() : blocxx::SSLClientCtxRef());
    other.setTimeouts(Timeout::relative(20));
    other.setCancellation(m_cancellation);
    other.connect(loopback(server.port()));
    int otherError = 0;
    std::thread reader(
        [&]
        {
            char byte = 0;
            EXPECT_EQ(other.read(&byte, 1), -1);
            otherError = errno;
        });
    const Soon soon(cancelling());
    expectReadCancelled();
    reader.join();
    EXPECT_EQ(otherError, ECANCELED);
}

TEST_P(SocketCancellation, IsReplacedByAnother)
{
    ScriptedServer server(options(), sendFour);
    m_socket.connect(loopback(server.port()));
    m_cancellation.cancel();
    expectReadCancelled();
    const Cancellation another;
    m_socket.setCancellation(another);
    EXPECT_EQ(readUpTo(m_socket, 4), "data");
    another.cancel();
    expectReadCancelled();
}

TEST_P(SocketCancellation, OfTheParentDoesNotEndTheReadOfAForkedChild)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    m_socket.setReceiveTimeout(Timeout::relative(0.3F));
    EXPECT_EQ(exitStatusOfFork(
                  [this]
                  {
                      char byte = 0;
                      const int count = m_socket.read(&byte, 1);
                      return count == -1 && errno == ETIMEDOUT && m_socket.receiveTimeOutExpired() ? 0 : 1;
                  },
                  [this] { m_cancellation.cancel(); }),
              0);
}

TEST_P(SocketCancellation, IsTheReasonThatAStreamBufferKeeps)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    IOIFCStreamBuffer buffer(&m_socket);
    std::istream stream(&buffer);
    buffer.reportErrorsTo(&stream);
    m_cancellation.cancel();
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.inputState(), BaseStreamBuffer::E_INPUT_FAILED);
    EXPECT_EQ(buffer.inputError(), ECANCELED);
    EXPECT_EQ(buffer.sputn("x", 1), 1);
    EXPECT_EQ(buffer.pubsync(), -1);
    EXPECT_EQ(buffer.outputError(), ECANCELED);
}

TEST_P(SocketCancellation, IsTheCodeOfWhatAReadThrows)
{
    ScriptedServer server(options(), waitForThePeer);
    m_socket.connect(loopback(server.port()));
    m_cancellation.cancel();
    char byte = 0;
    try
    {
        m_socket.read(&byte, 1, IOIFC::E_THROW_ON_ERROR);
        FAIL() << "no exception";
    }
    catch (const SocketException& e)
    {
        EXPECT_EQ(e.getErrorCode(), ECANCELED);
    }
}

INSTANTIATE_TEST_SUITE_P(Sockets, SocketCancellation, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& tls) { return tls.param ? "TLS" : "Plain"; });
