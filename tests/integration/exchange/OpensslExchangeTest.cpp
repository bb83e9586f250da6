#include "Getting.hpp"
#include "Trust.hpp"
#include "support/ScriptedServer.hpp"
#include "support/StandaloneServers.hpp"

#include "zol/http/MIMEContentIStream.hpp"

#include <gmock/gmock.h>

#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace exchange_integration;
using testing::AnyOf;
using testing::HasSubstr;
using zol_integration::trusting;
using zol_test::Certificate;
using zol_test::OpensslServer;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

class OpensslExchange : public testing::Test
{
protected:
    const Certificate m_authority = zol_test::makeAuthority();
    const Certificate m_own = zol_test::issue(m_authority, loopbackFields());

    Request get10(std::uint16_t port, const std::string& target) const
    {
        return asking("GET", secureUrl(port, target))
            .version(ZOLNS2::HTTP::HTTP_1_0)
            .sslContext(trusting(m_authority))
            .build();
    }

    /// Arguments of a server that takes certificates of this authority alone.
    static std::vector<std::string> demanding(const zol_test::TemporaryDirectory& folder, const Certificate& clients,
                                              const char* version)
    {
        return {"-Verify", "1",       "-verify_return_error",
                version,   "-CAfile", folder.write("clients.crt", clients.certificatePem())};
    }
};

TEST_F(OpensslExchange, ABodyToTheCloseIsCompleteBehindACloseNotify)
{
    const OpensslServer server(m_own);
    const std::string content(200000, 'o');
    server.folder().write("large.txt", content);
    for (const auto& [target, body] :
         {std::pair{"/page.txt", std::string("served by openssl\n")}, {"/large.txt", content}})
    {
        const ExchangeResponse response = exchange(get10(server.port(), target));
        EXPECT_EQ(response.getStatusLine().version, ZOLNS2::HTTP::HTTP_1_0);
        EXPECT_FALSE(response.getContent()->hasContentLength());
        EXPECT_TRUE(bodyOf(response) == body);
        EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE);
        EXPECT_FALSE(response.reusable());
    }
}

TEST_F(OpensslExchange, ABodyToTheCloseIsCutByTheEndOfTheServer)
{
    OpensslServer server(m_own);
    server.folder().writeSparse("huge.bin", std::uint64_t{1} << 30);
    const ExchangeResponse response = exchange(get10(server.port(), "/huge.bin"));
    ZOLNS2::HTTP::MIMEContentIStream body(response.getContent());
    std::string begin(100000, 'x');
    body.read(begin.data(), static_cast<std::streamsize>(begin.size()));
    EXPECT_EQ(begin, std::string(100000, '\0'));
    server.stop();
    body.ignore(std::numeric_limits<std::streamsize>::max());
    EXPECT_TRUE(body.bad());
    EXPECT_THAT(response.bodyEnd(), AnyOf(ExchangeResponse::E_CUT, ExchangeResponse::E_RESET));
    EXPECT_THAT(textOf(response.bodyEndText()), HasSubstr("127.0.0.1:" + std::to_string(server.port())));
    EXPECT_FALSE(response.reusable());
}

/// The response of an HTTP/1.0 server whose connection ends in some way behind it.
ScriptedServer::Script endingBy(void (ServerConnection::*end)())
{
    return [end](ServerConnection& connection)
    {
        connection.receiveHead();
        connection.send("HTTP/1.0 200 OK\r\n\r\na body");
        (connection.*end)();
    };
}

TEST_F(OpensslExchange, ABodyToTheCloseIsCompleteOnlyWithACloseNotify)
{
    ScriptedServer::Options options;
    options.certificate = m_own.certificatePem();
    options.privateKey = m_own.keyPem();
    ScriptedServer orderly(options, endingBy(&ServerConnection::shutdownWrite));
    EXPECT_EQ(bodyOf(exchange(get10(orderly.port(), "/"))), "a body");

    ScriptedServer cutting(options, endingBy(&ServerConnection::cut));
    const ExchangeResponse cut = exchange(get10(cutting.port(), "/"));
    expectFailure([&] { cut.readAll(); }, ExchangeException::E_BODY, ExchangeException::E_CUT, "close-notify");
    EXPECT_EQ(cut.bodyEnd(), ExchangeResponse::E_CUT);
    EXPECT_THAT(textOf(cut.bodyEndText()), HasSubstr("127.0.0.1:" + std::to_string(cutting.port())));

    const ExchangeResponse streamed = exchange(get10(cutting.port(), "/"));
    ZOLNS2::HTTP::MIMEContentIStream body(streamed.getContent());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(body), {}), "a body");
    EXPECT_TRUE(body.bad());
    EXPECT_EQ(streamed.bodyEnd(), ExchangeResponse::E_CUT);
}

TEST_F(OpensslExchange, AnExpiredCertificateIsRefused)
{
    zol_test::CertificateFields fields = loopbackFields();
    fields.validFromDays = -30;
    fields.validToDays = -1;
    const OpensslServer server(zol_test::issue(m_authority, fields));
    expectFailure([&] { exchange(get10(server.port(), "/page.txt")); }, ExchangeException::E_TLS,
                  ExchangeException::E_ERROR, "certificate has expired");
}

TEST_F(OpensslExchange, AClientCertificateThatIsWantedIsShown)
{
    const Certificate clients = zol_test::makeAuthority("clients' authority");
    const zol_test::TemporaryDirectory folder;
    for (const char* version : {"-tls1_2", "-tls1_3"})
    {
        SCOPED_TRACE(version);
        const OpensslServer server(m_own, demanding(folder, clients, version));
        const Request request =
            get(secureUrl(server.port(), "/page.txt"), showing(zol_test::issue(clients, {}), m_authority));
        EXPECT_EQ(bodyOf(exchange(request)), "served by openssl\n");
    }
}

// TLS 1.2 refuses within the handshake; in TLS 1.3 the client is done with it before the server has looked.
TEST_F(OpensslExchange, ARefusedClientCertificateIsAFailureThatNamesTheAlert)
{
    const Certificate clients = zol_test::makeAuthority("clients' authority");
    const zol_test::TemporaryDirectory folder;
    const blocxx::SSLClientCtxRef other = showing(zol_test::issue(zol_test::makeAuthority("others"), {}), m_authority);
    const OpensslServer twelve(m_own, demanding(folder, clients, "-tls1_2"));
    expectFailure([&] { exchange(get(secureUrl(twelve.port(), "/page.txt"), other)); }, ExchangeException::E_TLS,
                  ExchangeException::E_ERROR, "alert");
    expectFailure([&] { exchange(get(secureUrl(twelve.port(), "/page.txt"), trusting(m_authority))); },
                  ExchangeException::E_TLS, ExchangeException::E_ERROR, "alert");

    const OpensslServer thirteen(m_own, demanding(folder, clients, "-tls1_3"));
    for (const blocxx::SSLClientCtxRef& tls : {other, trusting(m_authority)})
    {
        const auto failure = failureOf([&] { exchange(get(secureUrl(thirteen.port(), "/page.txt"), tls)); });
        ASSERT_TRUE(failure);
        EXPECT_THAT(failure->phase(), AnyOf(ExchangeException::E_SEND, ExchangeException::E_HEAD));
        EXPECT_EQ(failure->cause(), ExchangeException::E_ERROR);
        EXPECT_THAT(failure->getMessage(), HasSubstr("alert"));
    }
}

} // namespace
