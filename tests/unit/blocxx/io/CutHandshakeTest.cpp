#include "Peers.hpp"
#include "TLSPeers.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Socket.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <string>

using blocxx::Socket;
using blocxx::Timeout;
using testing::StartsWith;
using zol_test::Certificate;
using zol_test::Clock;
using zol_test::ConnectFailure;
using zol_test::connectFailure;
using zol_test::loopback;
using zol_test::ScriptedServer;
using zol_test::secondsSince;
using zol_test::ServerConnection;
using zol_test::testAuthority;
using zol_test::trustingClient;

namespace
{

// With an RSA key all signatures, and so all handshakes, have the same length.
const Certificate& rsaCertificate()
{
    static const Certificate certificate = []
    {
        zol_test::CertificateFields fields;
        fields.ipAddresses = {"127.0.0.1"};
        fields.rsaBits = 2048;
        return zol_test::issue(testAuthority(), fields);
    }();
    return certificate;
}

std::size_t lengthOf(const std::string& recordHead)
{
    return static_cast<unsigned char>(recordHead[3]) * 256U + static_cast<unsigned char>(recordHead[4]);
}

enum class End
{
    NONE,
    CLOSE,
    RESET,
    STALL
};

/// Servers that handshake in one version of TLS up to a byte of what they send.
class CutHandshake : public testing::TestWithParam<int>
{
protected:
    CutHandshake() : m_context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free)
    {
        SSL_CTX* const context = m_context.get();
        SSL_CTX_set_min_proto_version(context, GetParam());
        SSL_CTX_set_max_proto_version(context, GetParam());
        SSL_CTX_set_num_tickets(context, 0);
        SSL_CTX_set_options(context, SSL_OP_NO_TICKET);
        SSL_CTX_use_certificate(context, rsaCertificate().x509.get());
        SSL_CTX_use_PrivateKey(context, rsaCertificate().key.get());
    }

    /// Sends what the server says, up to that many bytes in all.
    void handshake(ServerConnection& connection, std::size_t limit, End end)
    {
        const std::unique_ptr<SSL, decltype(&::SSL_free)> session(SSL_new(m_context.get()), ::SSL_free);
        BIO* const input = BIO_new(BIO_s_mem());
        BIO* const output = BIO_new(BIO_s_mem());
        SSL_set_bio(session.get(), input, output);
        SSL_set_accept_state(session.get());
        std::size_t sent = 0;
        for (bool isDone = false; !isDone;)
        {
            const std::string head = connection.receive(5);
            const std::string record = head + connection.receive(lengthOf(head));
            BIO_write(input, record.data(), static_cast<int>(record.size()));
            isDone = SSL_do_handshake(session.get()) == 1;
            char* data = nullptr;
            const auto size = static_cast<std::size_t>(BIO_get_mem_data(output, &data));
            const std::size_t part = std::min(size, limit - sent);
            connection.send(std::string_view(data, part));
            sent += part;
            if (part < size)
            {
                break;
            }
            BIO_reset(output);
        }
        ERR_clear_error();
        m_sent = sent;
        finish(connection, end);
    }

    /// How much a whole handshake sends.
    std::size_t wholeLength()
    {
        ScriptedServer server([this](ServerConnection& connection) { handshake(connection, 1'000'000, End::NONE); });
        Socket socket(trustingClient());
        socket.connect(loopback(server.port()));
        EXPECT_TRUE(server.waitUntilIdle());
        return m_sent;
    }

    ConnectFailure failureOf(std::size_t limit, End end, const Timeout& timeout)
    {
        ScriptedServer server([=](ServerConnection& connection) { handshake(connection, limit, end); });
        Socket socket(trustingClient());
        socket.setConnectTimeout(timeout);
        ConnectFailure failure = connectFailure(socket, loopback(server.port()));
        EXPECT_FALSE(socket.isConnected());
        EXPECT_EQ(ERR_peek_error(), 0U);
        return failure;
    }

private:
    static void finish(ServerConnection& connection, End end)
    {
        switch (end)
        {
        case End::CLOSE:
            connection.shutdownWrite();
            connection.waitUntilPeerCloses();
            break;
        case End::RESET:
            connection.reset();
            break;
        case End::STALL:
            connection.waitUntilPeerCloses();
            break;
        case End::NONE:
            break;
        }
    }

    std::unique_ptr<SSL_CTX, decltype(&::SSL_CTX_free)> m_context;
    std::atomic<std::size_t> m_sent{0};
};

} // namespace

TEST_P(CutHandshake, ByACloseFailsAtEveryByte)
{
    const std::size_t whole = wholeLength();
    for (std::size_t limit = 0; limit < whole; limit += limit + 12 < whole ? 11 : 1)
    {
        const ConnectFailure failure = failureOf(limit, End::CLOSE, Timeout::relative(30));
        EXPECT_EQ(failure.type, "SSLException") << limit;
        EXPECT_THAT(failure.text, testing::HasSubstr("the peer closed the connection during the handshake")) << limit;
    }
}

TEST_P(CutHandshake, ByAResetFailsInEveryPhase)
{
    const std::size_t whole = wholeLength();
    for (const std::size_t limit : {std::size_t{0}, std::size_t{20}, whole / 2, whole - 1})
    {
        const ConnectFailure failure = failureOf(limit, End::RESET, Timeout::relative(30));
        EXPECT_EQ(failure.type, "SSLException") << limit;
        EXPECT_EQ(failure.code, ECONNRESET) << limit;
    }
}

// Behind the client's hello, in the server's, in its certificate, and before the last byte of its "finished".
TEST_P(CutHandshake, ByAStallTimesOutInEveryPhase)
{
    const std::size_t whole = wholeLength();
    for (const std::size_t limit : {std::size_t{0}, std::size_t{20}, whole / 2, whole - 1})
    {
        const Clock::time_point start = Clock::now();
        const ConnectFailure failure = failureOf(limit, End::STALL, Timeout::relative(0.5F));
        EXPECT_EQ(failure.code, ETIMEDOUT) << limit;
        EXPECT_THAT(failure.text, StartsWith("TLS handshake timed out: 127.0.0.1:")) << limit;
        EXPECT_LT(secondsSince(start), 15);
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, CutHandshake, testing::Values(TLS1_2_VERSION, TLS1_3_VERSION),
                         [](const auto& version) { return version.param == TLS1_2_VERSION ? "TLS12" : "TLS13"; });
