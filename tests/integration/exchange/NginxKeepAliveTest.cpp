#include "Getting.hpp"
#include "Trust.hpp"
#include "support/NginxServer.hpp"

#include "zol/http/MIMEContentIStream.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace
{

using namespace exchange_integration;
using namespace std::chrono_literals;
using testing::EndsWith;
using zol_integration::trusting;
using zol_test::NginxServer;

const char* const LOCATIONS = R"(
    location = /connection { return 200 "$connection $connection_requests"; }
    location = /chunks { echo_duplicate 1000 x; }
    location = /none { return 204; }
    location = /silent { return 444; }
    location = /once { keepalive_timeout 0; return 200 last; }
)";

NginxServer::Options configuration(const std::string& more = "")
{
    NginxServer::Options options;
    options.server = LOCATIONS + more;
    return options;
}

/// "<connection> <n>", as the server says it for the n-th request of a connection.
std::string connectionOf(const std::string& body)
{
    return body.substr(0, body.find(' '));
}

TEST(NginxKeepAlive, TwoHundredExchangesUseOneConnection)
{
    const NginxServer server(configuration());
    const Request request = getAndKeep(plainUrl(server.port(), "/connection"));
    ExchangeResponse response = exchange(request);
    const std::string connection = connectionOf(bodyOf(response));
    for (int i = 2; i <= 200; ++i)
    {
        ASSERT_TRUE(response.reusable()) << i;
        response = exchange(response.getConnection(), request);
        ASSERT_EQ(bodyOf(response), connection + " " + std::to_string(i));
    }
    EXPECT_NE(connectionOf(bodyOf(exchange(request))), connection);
}

TEST(NginxKeepAlive, ResponsesOfEveryKindLeaveOneConnection)
{
    const NginxServer server(configuration());
    const auto ask = [&](const char* method, const char* target)
    { return asking(method, plainUrl(server.port(), target)).keepAlive(true).build(); };
    ExchangeResponse response = exchange(ask("GET", "/connection"));
    const std::string connection = connectionOf(bodyOf(response));
    for (const auto& [method, target] : {std::pair{"GET", "/chunks"},
                                         {"HEAD", "/chunks"},
                                         {"HEAD", "/connection"},
                                         {"GET", "/none"},
                                         {"GET", "/nothing-here"},
                                         {"GET", "/"}})
    {
        response = exchange(response.getConnection(), ask(method, target));
        bodyOf(response);
        ASSERT_TRUE(response.reusable()) << method << ' ' << target;
    }
    EXPECT_EQ(bodyOf(exchange(response.getConnection(), ask("GET", "/connection"))), connection + " 8");
}

TEST(NginxKeepAlive, IsOverWhenTheServerSaysSo)
{
    const NginxServer server(configuration());
    const ExchangeResponse response = exchange(getAndKeep(plainUrl(server.port(), "/once")));
    EXPECT_EQ(bodyOf(response), "last");
    EXPECT_FALSE(response.reusable());
}

TEST(NginxKeepAlive, IsOverUnlessTheRequestAskedForIt)
{
    const NginxServer server(configuration());
    const ExchangeResponse response = exchange(get(plainUrl(server.port(), "/connection")));
    bodyOf(response);
    EXPECT_FALSE(response.reusable());
}

TEST(NginxKeepAlive, AConnectionThatEndsUnderTheRequestIsSafeToRepeat)
{
    const NginxServer server(configuration());
    const ExchangeResponse first = exchange(getAndKeep(plainUrl(server.port(), "/connection")));
    bodyOf(first);
    const Request silent = getAndKeep(plainUrl(server.port(), "/silent"));
    const auto kept = failureOf([&] { exchange(first.getConnection(), silent); });
    ASSERT_TRUE(kept);
    EXPECT_TRUE(kept->isSafeToRepeat());
    EXPECT_EQ(kept->phase(), ExchangeException::E_HEAD);
    const auto fresh = failureOf([&] { exchange(silent); });
    ASSERT_TRUE(fresh);
    EXPECT_FALSE(fresh->isSafeToRepeat());
    EXPECT_EQ(fresh->cause(), ExchangeException::E_CUT) << fresh->getMessage();
}

TEST(NginxKeepAlive, AConnectionThatTheServerGaveUpIsNoLongerReusable)
{
    const NginxServer server(configuration("keepalive_timeout 100ms;"));
    const Request request = getAndKeep(plainUrl(server.port(), "/connection"));
    const ExchangeResponse first = exchange(request);
    bodyOf(first);
    const auto limit = std::chrono::steady_clock::now() + 10s;
    while (first.reusable() && std::chrono::steady_clock::now() < limit)
    {
        std::this_thread::sleep_for(10ms);
    }
    ASSERT_FALSE(first.reusable());
    const auto failure = failureOf([&] { exchange(first.getConnection(), request); });
    ASSERT_TRUE(failure);
    EXPECT_TRUE(failure->isSafeToRepeat()) << failure->getMessage();
    EXPECT_EQ(exchange(request).getStatus(), 200);
}

TEST(NginxKeepAlive, AnUnreadBodyRefusesTheNextExchangeAndStaysReadable)
{
    const NginxServer server(configuration());
    const std::string content(3000000, 'b');
    server.folder().write("html/file.bin", content);
    const Request request = getAndKeep(plainUrl(server.port(), "/connection"));
    const ExchangeResponse unread = exchange(getAndKeep(plainUrl(server.port(), "/file.bin")));
    EXPECT_FALSE(unread.reusable());
    expectFailure([&] { exchange(unread.getConnection(), request); }, ExchangeException::E_CONNECT,
                  ExchangeException::E_ERROR, "reusable");
    EXPECT_TRUE(bodyOf(unread) == content);
    EXPECT_THAT(bodyOf(exchange(unread.getConnection(), request)), EndsWith(" 2")) << "nothing was sent meanwhile";
}

TEST(NginxKeepAlive, AHalfReadBodyRefusesTheNextExchangeAndStaysReadable)
{
    const NginxServer server(configuration());
    const std::string content(3000000, 'b');
    server.folder().write("html/file.bin", content);
    const ExchangeResponse half = exchange(getAndKeep(plainUrl(server.port(), "/file.bin")));
    ZOLNS2::HTTP::MIMEContentIStream body(half.getContent());
    std::string bytes(1000000, '\0');
    body.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const auto failure =
        failureOf([&] { exchange(half.getConnection(), getAndKeep(plainUrl(server.port(), "/connection"))); });
    ASSERT_TRUE(failure);
    EXPECT_FALSE(failure->isSafeToRepeat()) << "the connection has not ended";
    bytes += std::string(std::istreambuf_iterator<char>(body), {});
    EXPECT_TRUE(bytes == content);
    EXPECT_EQ(half.bodyEnd(), ExchangeResponse::E_COMPLETE);
    EXPECT_TRUE(half.reusable());
}

TEST(NginxKeepAlive, AConnectionToAnotherHostPortOrContextIsRefused)
{
    const zol_test::Certificate authority = zol_test::makeAuthority();
    const zol_test::Certificate own = zol_test::issue(authority, loopbackFields());
    NginxServer::Options options = configuration();
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    const NginxServer server(options);
    const blocxx::SSLClientCtxRef tls = trusting(authority);
    const ExchangeResponse plain = exchange(getAndKeep(plainUrl(server.port(), "/connection")));
    const ExchangeResponse secure = exchange(getAndKeep(secureUrl(server.tlsPort(), "/connection"), tls));
    bodyOf(plain);
    bodyOf(secure);
    const auto expectRefused = [](const ExchangeResponse& kept, const Request& request)
    {
        expectFailure([&] { exchange(kept.getConnection(), request); }, ExchangeException::E_CONNECT,
                      ExchangeException::E_ERROR, "was not opened for");
        EXPECT_TRUE(kept.reusable());
    };
    expectRefused(plain, getAndKeep(plainUrl(server.port(), "/connection", "localhost")));
    expectRefused(plain, getAndKeep(plainUrl(server.tlsPort(), "/connection")));
    expectRefused(plain, getAndKeep(secureUrl(server.port(), "/connection"), tls));
    expectRefused(secure, getAndKeep(plainUrl(server.tlsPort(), "/connection")));
    expectRefused(secure, getAndKeep(secureUrl(server.tlsPort(), "/connection"), trusting(authority)));
    EXPECT_EQ(exchange(plain.getConnection(), getAndKeep(plainUrl(server.port(), "/connection"))).getStatus(), 200);
    EXPECT_EQ(exchange(secure.getConnection(), getAndKeep(secureUrl(server.tlsPort(), "/connection"), tls)).getStatus(),
              200);
    EXPECT_EQ(requestsSeenBy(server, 4), 4U);
}

} // namespace
