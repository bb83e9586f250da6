#include "Peers.hpp"
#include "TLSPeers.hpp"
#include "Transfers.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <poll.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <istream>
#include <thread>

using blocxx::BaseStreamBuffer;
using blocxx::IOIFC;
using blocxx::IOIFCStreamBuffer;
using blocxx::Socket;
using blocxx::SocketException;
using blocxx::Timeout;
using zol_test::Clock;
using zol_test::LARGE;
using zol_test::loopback;
using zol_test::readUpTo;
using zol_test::resetAfterOneByte;
using zol_test::ScriptedServer;
using zol_test::secondsSince;
using zol_test::ServerConnection;
using zol_test::sizeOf;
using zol_test::tlsServer;
using zol_test::trustingClient;
using zol_test::withSmallBuffers;

namespace
{

using std::chrono::milliseconds;

ScriptedServer::Options renegotiatingServer()
{
    ScriptedServer::Options options = tlsServer();
    options.adjust = [](SSL_CTX* context) { SSL_CTX_set_max_proto_version(context, TLS1_2_VERSION); };
    return options;
}

std::string finishedOf(const SSL* session)
{
    char text[64];
    return std::string(text, SSL_get_peer_finished(session, text, sizeof text));
}

// Has the client negotiate once more, with what the server's session is set to. @return false when it does not
bool renegotiate(ServerConnection& connection)
{
    SSL* const session = connection.ssl();
    const std::string before = finishedOf(session);
    SSL_renegotiate(session);
    SSL_do_handshake(session);
    for (int i = 0; i < 5000; ++i)
    {
        char byte = 0;
        const int result = SSL_peek(session, &byte, 1);
        const bool isWaiting = SSL_get_error(session, result) == SSL_ERROR_WANT_READ;
        ERR_clear_error();
        if (SSL_is_init_finished(session) == 1 && finishedOf(session) != before)
        {
            return true;
        }
        if (!isWaiting)
        {
            return false;
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    return false;
}

// Continues a handshake that the server has begun, for a while.
bool finishHandshake(ServerConnection& connection)
{
    for (int i = 0; i < 400 && SSL_do_handshake(connection.ssl()) != 1; ++i)
    {
        ERR_clear_error();
        std::this_thread::sleep_for(milliseconds(5));
    }
    return SSL_is_init_finished(connection.ssl()) == 1;
}

} // namespace

TEST(SSLRead, CloseNotifyIsTheOrderlyEnd)
{
    ScriptedServer server(tlsServer(), [](ServerConnection& connection) { connection.send("abc"); });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 3), "abc");
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), 0);
    EXPECT_EQ(socket.read(&byte, 1), 0);
}

TEST(SSLRead, CutWithoutCloseNotifyIsAnError)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              connection.send("abc");
                              connection.receive(1);
                              connection.cut();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 3), "abc");
    socket.write("x", 1);
    char byte = 0;
    errno = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(SSLRead, ResetIsAnError)
{
    ScriptedServer server(tlsServer(), resetAfterOneByte);
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.write("x", 1);
    char byte = 0;
    try
    {
        socket.read(&byte, 1, IOIFC::E_THROW_ON_ERROR);
        FAIL() << "no exception";
    }
    catch (const SocketException& e)
    {
        EXPECT_EQ(e.getErrorCode(), ECONNRESET);
    }
}

TEST(SSLRead, ResetDuringTheWaitIsNoCut)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              connection.receive(1);
                              connection.pause(milliseconds(200)); // the client's read waits by then
                              connection.reset();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.write("x", 1);
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_TRUE(socket.lastErrorText().empty()) << socket.lastErrorText();
}

TEST(SSLRead, GarbageBetweenRecordsIsAProtocolError)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              const std::string garbage(100, '\x41');
                              ASSERT_GT(::send(connection.fd(), garbage.data(), garbage.size(), MSG_NOSIGNAL), 0);
                              connection.waitUntilPeerCloses();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_EQ(ERR_peek_error(), 0U);
    EXPECT_EQ(socket.read(&byte, 1), -1);
}

TEST(SSLRead, TimesOutThoughSessionTicketsArrived)
{
    ScriptedServer server(tlsServer(), [](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.2F));
    char byte = 0;
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(secondsSince(start), 0.2);
    EXPECT_LT(secondsSince(start), 3);
}

TEST(SSLRead, TimesOutWithinARecord)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              // The head of a record whose body never comes.
                              ASSERT_EQ(::send(connection.fd(), "\x17\x03\x03\x01\x00", 5, MSG_NOSIGNAL), 5);
                              connection.waitUntilPeerCloses();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.2F));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
}

TEST(SSLRead, CutWithinARecordIsAnError)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              connection.send("abc");
                              connection.receive(1);
                              ASSERT_EQ(::send(connection.fd(), "\x17\x03\x03\x01\x00half", 9, MSG_NOSIGNAL), 9);
                              connection.cut();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    EXPECT_EQ(readUpTo(socket, 3), "abc");
    socket.write("x", 1);
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_EQ(socket.lastErrorText(), "the connection ended without close-notify");
}

TEST(SSLRead, DataBehindSessionTicketsInNumberArrives)
{
    ScriptedServer::Options options = tlsServer();
    options.adjust = [](SSL_CTX* context) { SSL_CTX_set_num_tickets(context, 200); };
    ScriptedServer server(options, [](ServerConnection& connection) { connection.send("data"); });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(30));
    EXPECT_EQ(readUpTo(socket, 5), "data");
}

TEST(SSLRead, DataOnBothSidesOfARenegotiationArrives)
{
    ScriptedServer server(renegotiatingServer(),
                          [](ServerConnection& connection)
                          {
                              connection.send("ab");
                              EXPECT_TRUE(renegotiate(connection));
                              connection.send("cd");
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(30));
    EXPECT_EQ(readUpTo(socket, 5), "abcd");
}

TEST(SSLRead, ARenegotiationWithTheCertificateOfAnotherHostIsRefused)
{
    zol_test::CertificateFields fields;
    fields.ipAddresses = {"127.0.0.2"};
    const zol_test::Certificate other = zol_test::issue(zol_test::testAuthority(), fields);
    ScriptedServer server(renegotiatingServer(),
                          [&](ServerConnection& connection)
                          {
                              SSL_set_options(connection.ssl(), SSL_OP_NO_SESSION_RESUMPTION_ON_RENEGOTIATION);
                              SSL_use_certificate(connection.ssl(), other.x509.get());
                              SSL_use_PrivateKey(connection.ssl(), other.key.get());
                              EXPECT_FALSE(renegotiate(connection));
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(30));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_EQ(socket.lastErrorText(), "certificate verify failed");
    EXPECT_EQ(socket.write("x", 1), -1);
}

TEST(SSLRead, RenegotiationsWithoutEndAreLeftWhenTheTimeIsUp)
{
    std::atomic<int> count{0};
    ScriptedServer server(renegotiatingServer(),
                          [&](ServerConnection& connection)
                          {
                              SSL_set_options(connection.ssl(), SSL_OP_NO_SESSION_RESUMPTION_ON_RENEGOTIATION);
                              while (renegotiate(connection))
                              {
                                  ++count;
                              }
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.5F));
    char byte = 0;
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_LT(secondsSince(start), 15);
    EXPECT_GT(count, 1);
    socket.disconnect();
}

TEST(SSLRead, ContinuesAfterATimeout)
{
    std::promise<void> more;
    ScriptedServer server(tlsServer(),
                          [&](ServerConnection& connection)
                          {
                              more.get_future().wait_for(std::chrono::seconds(5));
                              connection.send("late");
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.05F));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    more.set_value();
    socket.setReceiveTimeout(Timeout::relative(5));
    EXPECT_EQ(readUpTo(socket, 4), "late");
}

TEST(SSLRead, StaleErrorOfTheThreadDoesNotDisturb)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              connection.pause(milliseconds(100));
                              connection.send("abc");
                          });
    Socket socket(trustingClient());
    ERR_raise(ERR_LIB_USER, ERR_R_INTERNAL_ERROR);
    socket.connect(loopback(server.port()));
    ERR_raise(ERR_LIB_USER, ERR_R_INTERNAL_ERROR);
    EXPECT_EQ(socket.write("x", 1), 1);
    ERR_raise(ERR_LIB_USER, ERR_R_INTERNAL_ERROR);
    EXPECT_EQ(readUpTo(socket, 3), "abc");
    ERR_raise(ERR_LIB_USER, ERR_R_INTERNAL_ERROR);
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), 0);
    ERR_clear_error();
}

TEST(SSLRead, SignalsDoNotEndTheWait)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              connection.pause(milliseconds(300));
                              connection.send("late");
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    const zol_test::SignalStorm storm;
    EXPECT_EQ(readUpTo(socket, 4), "late");
}

TEST(SSLWrite, WritesAllHoweverMuchItIs)
{
    ScriptedServer server(withSmallBuffers(tlsServer()),
                          [](ServerConnection& connection)
                          {
                              EXPECT_EQ(connection.receive(LARGE.size()), LARGE);
                              connection.send("done");
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), sizeOf(LARGE));
    EXPECT_EQ(readUpTo(socket, 4), "done");
}

TEST(SSLWrite, TimesOutWhenNothingLeaves)
{
    ScriptedServer server(withSmallBuffers(tlsServer()),
                          [](ServerConnection& connection) { connection.pause(std::chrono::seconds(10)); });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setSendTimeout(Timeout::relative(0.2F));
    Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(secondsSince(start), 0.2);
    EXPECT_LT(secondsSince(start), 5);
    socket.setSendTimeout(Timeout::infinite);
    start = Clock::now();
    socket.disconnect();
    EXPECT_LT(secondsSince(start), 5);
}

TEST(SSLWrite, TimeoutIsRestartedByProgress)
{
    ScriptedServer server(withSmallBuffers(tlsServer()),
                          [](ServerConnection& connection)
                          {
                              for (int i = 0; i < 8; ++i)
                              {
                                  connection.receive(LARGE.size() / 8);
                                  connection.pause(milliseconds(300));
                              }
                              connection.send("done");
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setSendTimeout(Timeout::relative(1.2F));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), sizeOf(LARGE));
    EXPECT_GT(secondsSince(start), 1.2);
    EXPECT_EQ(readUpTo(socket, 4), "done");
}

TEST(SSLWrite, ToAResetPeerIsAnErrorAndNoSignal)
{
    // A signal would end the test program.
    ::signal(SIGPIPE, SIG_DFL);
    ScriptedServer server(tlsServer(), resetAfterOneByte);
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.write("x", 1);
    // Reads the reset, so that the write finds a broken pipe.
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(socket.write("x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    struct sigaction disposition = {};
    ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &disposition), 0);
    EXPECT_EQ(disposition.sa_handler, SIG_DFL);
}

TEST(SSLWrite, ResetDuringTheWaitIsAnError)
{
    ScriptedServer server(withSmallBuffers(tlsServer()),
                          [](ServerConnection& connection)
                          {
                              connection.pause(milliseconds(200)); // the client's write waits by then
                              connection.reset();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setSendTimeout(Timeout::relative(5));
    EXPECT_EQ(socket.write(LARGE.data(), sizeOf(LARGE)), -1);
    EXPECT_TRUE(errno == ECONNRESET || errno == EPIPE) << errno;
}

TEST(SSLWrite, WithinARenegotiationContinuesWhenThePeerResponds)
{
    ScriptedServer server(renegotiatingServer(),
                          [](ServerConnection& connection)
                          {
                              SSL_renegotiate(connection.ssl());
                              SSL_do_handshake(connection.ssl());
                              connection.pause(milliseconds(300));
                              EXPECT_TRUE(finishHandshake(connection));
                              EXPECT_EQ(connection.receive(4), "ping");
                              connection.send("done");
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    // Reads the request to renegotiate, and no response to what it sends then.
    socket.setReceiveTimeout(Timeout::relative(0.1F));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    socket.setTimeouts(Timeout::relative(5));
    EXPECT_EQ(socket.write("ping", 4), 4);
    EXPECT_EQ(readUpTo(socket, 4), "done");
}

TEST(SSLWrite, WithinARenegotiationTimesOutWhenThePeerIsSilent)
{
    ScriptedServer server(renegotiatingServer(),
                          [](ServerConnection& connection)
                          {
                              SSL_renegotiate(connection.ssl());
                              SSL_do_handshake(connection.ssl());
                              connection.pause(std::chrono::seconds(10));
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0.1F));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    socket.setSendTimeout(Timeout::relative(0.2F));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(socket.write("ping", 4), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(secondsSince(start), 0.2);
    EXPECT_LT(secondsSince(start), 3);
}

TEST(SSLClose, SendsCloseNotify)
{
    std::promise<int> shutdownState;
    ScriptedServer server(tlsServer(),
                          [&](ServerConnection& connection)
                          {
                              connection.receiveUntilEnd();
                              shutdownState.set_value(SSL_get_shutdown(connection.ssl()));
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    socket.disconnect();
    EXPECT_FALSE(socket.isConnected());
    std::future<int> state = shutdownState.get_future();
    ASSERT_EQ(state.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_TRUE(state.get() & SSL_RECEIVED_SHUTDOWN);
}

TEST(SSLClose, OfAConnectionThatThePeerHasLeftRaisesNoSignal)
{
    ::signal(SIGPIPE, SIG_DFL);
    std::promise<void> closed;
    ScriptedServer server(tlsServer(),
                          [&](ServerConnection& connection)
                          {
                              connection.close();
                              closed.set_value();
                          });
    Socket socket(trustingClient());
    socket.connect(loopback(server.port()));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), 0);
    // The end may be seen before the server's socket is gone; what is written after that causes a reset.
    ASSERT_EQ(closed.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    socket.write("x", 1);
    pollfd reset{socket.getfd(), 0, 0};
    ASSERT_EQ(::poll(&reset, 1, 5000), 1);
    EXPECT_NO_THROW(socket.disconnect());
}

// What a stream over a TLS socket shows.

class SSLStream : public testing::Test
{
protected:
    std::string readFrom(const ScriptedServer& server)
    {
        m_socket.connect(loopback(server.port()));
        m_buffer.reportErrorsTo(&m_stream);
        m_stream << "go" << std::flush;
        std::string text(100000, '\0');
        m_stream.read(text.data(), 100000);
        text.resize(static_cast<std::size_t>(m_stream.gcount()));
        return text;
    }

    Socket m_socket{trustingClient()};
    IOIFCStreamBuffer m_buffer{&m_socket};
    std::iostream m_stream{&m_buffer};
};

TEST_F(SSLStream, CloseNotifyGivesEofAndNotBad)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              connection.receive(2);
                              connection.send("complete");
                          });
    EXPECT_EQ(readFrom(server), "complete");
    EXPECT_EQ(m_stream.rdstate(), std::ios::eofbit | std::ios::failbit);
    EXPECT_EQ(m_buffer.inputState(), BaseStreamBuffer::E_INPUT_ENDED);
}

TEST_F(SSLStream, CutGivesTheDataThenBad)
{
    ScriptedServer server(tlsServer(),
                          [](ServerConnection& connection)
                          {
                              connection.receive(2);
                              connection.send("incomplete");
                              connection.cut();
                          });
    EXPECT_EQ(readFrom(server), "incomplete");
    EXPECT_TRUE(m_stream.bad());
    EXPECT_EQ(m_buffer.inputError(), ECONNRESET);
}
