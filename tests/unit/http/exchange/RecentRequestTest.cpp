#include "exchange/RecentRequest.hpp"

#include "ExchangeWith.hpp"
#include "support/LogCapture.hpp"

#include "zol/http/ExchangeObserver.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace exchange_test;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using ZOLNS2::HTTP::ExchangeConnection;

/// Sends each head that it receives back as a body, until the connection ends.
void echo(ServerConnection& connection)
{
    static const std::vector<std::string> TYPES{"Content-Type: text/plain\r\n", "", "Content-Type: a/b; c=d\r\n"};
    for (std::size_t response = 0;; ++response)
    {
        const std::string head = connection.receiveHead();
        const std::string fields =
            TYPES[head.size() % 3] + "Content-Length: " + std::to_string(head.size()) + "\r\nX: " + head.substr(0, 3);
        connection.send("HTTP/1.1 200 OK\r\n" + fields + "\r\n\r\n");
        connection.send(head.compare(0, 4, "HEAD") == 0 ? "" : head);
    }
}

/// What a caller sees of a response.
std::string seen(const ExchangeResponse& response)
{
    std::string text = textOf(response.getUrl()) + "\n" + textOf(toString(response.getContentType())) + "\n";
    for (const ZOLNS2::HTTP::Header& header : response.getHeaders())
    {
        text += textOf(header.name) + "=" + textOf(header.value) + "\n";
    }
    return text + bodyOf(response);
}

/// Requests of which many are the same as one before, or differ from it in one thing.
class SimilarRequests
{
public:
    explicit SimilarRequests(const ScriptedServer& server) : m_server(server.address()) {}

    Request next()
    {
        static const std::vector<std::string> METHODS{"GET", "GET", "GET", "HEAD", "DELETE"};
        static const std::vector<std::string> TARGETS{"/", "/", "/page", "/page?x=1", "http://a/b"};
        static const std::vector<const char*> RANGES{"bytes=0-", "bytes=1-"};
        if (m_random() % 3 == 0)
        {
            m_headers = Headers();
            if (m_random() % 2 == 0)
            {
                m_headers.addHeader("Range", RANGES[m_random() % 2]);
            }
        }
        if (m_random() % 8 == 0)
        {
            m_headers.addHeader("X", "1"); // to the collection of the request before
        }
        if (m_random() % 2 == 0)
        {
            m_method = METHODS[m_random() % METHODS.size()];
            m_target = TARGETS[m_random() % TARGETS.size()];
        }
        return Request(RequestLine(m_method.c_str(), m_target.c_str(), m_server.c_str(), ZOLNS2::HTTP::HTTP_1_1),
                       m_headers, blocxx::SSLClientCtxRef());
    }

    ExchangeOptions options()
    {
        ExchangeOptions options;
        options.decompress = m_random() % 4 == 0;
        options.mostRedirects = m_random() % 2;
        return options;
    }

private:
    std::mt19937 m_random{3};
    std::string m_server;
    std::string m_method = "GET";
    std::string m_target = "/";
    Headers m_headers;
};

TEST(RecentRequest, GoesOutAndComesBackAsOverAConnectionOfItsOwn)
{
    ScriptedServer server(echo);
    server.ignoreErrors();
    SimilarRequests requests(server);
    std::optional<ExchangeConnection> kept;
    std::optional<Request> last;
    int repeated = 0;
    for (int i = 0; i < 600; ++i)
    {
        const Request request = requests.next();
        const ExchangeOptions options = requests.options();
        const ExchangeResponse over = kept ? exchange(*kept, request, options) : exchange(request, options);
        ASSERT_EQ(seen(over), seen(exchange(request, options)));
        kept = over.getConnection();
        ASSERT_TRUE(kept->reusable());
        ZOLNS2::HTTP::RecentRequest recent;
        if (last)
        {
            recent.remember(*last, ZOLNS2::HTTP::Url("http://a/"));
            repeated += recent.ifSame(request) != nullptr ? 1 : 0;
        }
        last = request;
    }
    EXPECT_GT(repeated, 60);
}

TEST(RecentRequest, IsOneThatIsTheSameInEverything)
{
    Headers headers;
    headers.addHeader("X", "1");
    const auto request =
        [&](const char* method, const char* target, const char* url, ZOLNS2::HTTP::Version version, const Headers& own)
    { return Request(RequestLine(method, target, url, version), own, blocxx::SSLClientCtxRef()); };
    ZOLNS2::HTTP::RecentRequest recent;
    const Request first = request("GET", "/", "a:80", ZOLNS2::HTTP::HTTP_1_1, headers);
    EXPECT_EQ(recent.ifSame(first), nullptr);
    recent.remember(first, ZOLNS2::HTTP::Url("http://a/"));
    EXPECT_EQ(recent.ifSame(first), &recent);
    EXPECT_EQ(recent.ifSame(request("GET", "/", "a:80", ZOLNS2::HTTP::HTTP_1_1, headers)), &recent);
    EXPECT_EQ(recent.ifSame(request("PUT", "/", "a:80", ZOLNS2::HTTP::HTTP_1_1, headers)), nullptr);
    EXPECT_EQ(recent.ifSame(request("GET", "/b", "a:80", ZOLNS2::HTTP::HTTP_1_1, headers)), nullptr);
    EXPECT_EQ(recent.ifSame(request("GET", "/", "b:80", ZOLNS2::HTTP::HTTP_1_1, headers)), nullptr);
    EXPECT_EQ(recent.ifSame(request("GET", "/", "a:80", ZOLNS2::HTTP::HTTP_1_0, headers)), nullptr);
    EXPECT_EQ(
        recent.ifSame(Request(first.getRequestLine(), headers, blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx))),
        nullptr);
    EXPECT_EQ(
        recent.ifSame(Request(first.getRequestLine(), headers, ContentRef(new HugeContent), blocxx::SSLClientCtxRef())),
        nullptr);
    headers.addHeader("Y", "2");
    EXPECT_EQ(recent.ifSame(request("GET", "/", "a:80", ZOLNS2::HTTP::HTTP_1_1, headers)), nullptr);
    EXPECT_EQ(recent.ifSame(first), &recent);
}

/// The heads that an observer was shown.
struct SentHeads : ZOLNS2::HTTP::ExchangeObserver
{
    void sending(const blocxx::String& head) override { heads.push_back(textOf(head)); }

    std::vector<std::string> heads;
};

TEST(RecentRequest, IsShownToAnObserverEachTime)
{
    ScriptedServer server(echo);
    server.ignoreErrors();
    SentHeads sent;
    ExchangeOptions options;
    options.observer = &sent;
    const Request request = get(server);
    const ExchangeConnection kept = exchange(request, options).getConnection();
    EXPECT_FALSE(kept.reusable()); // its body has not been read
    const ExchangeResponse first = exchange(request, options);
    bodyOf(first);
    for (int i = 0; i < 3; ++i)
    {
        bodyOf(exchange(first.getConnection(), request, options));
    }
    ASSERT_EQ(sent.heads.size(), 5U);
    EXPECT_EQ(sent.heads, std::vector<std::string>(5, "GET /page HTTP/1.1\r\n\r\n"));
}

TEST(RecentRequest, LeavesTheRecordsThatAnyOtherLeaves)
{
    ScriptedServer server(echo);
    server.ignoreErrors();
    const Request request = get(server);
    const ExchangeResponse first = exchange(request);
    bodyOf(first);
    std::vector<std::vector<std::string>> records;
    for (int i = 0; i < 3; ++i)
    {
        zol_test::LogCapture log;
        bodyOf(exchange(first.getConnection(), request));
        records.push_back(log.messages());
    }
    EXPECT_GT(records[0].size(), 3U);
    EXPECT_EQ(records[1], records[0]);
    EXPECT_EQ(records[2], records[0]);
}

TEST(RecentRequest, IsRefusedOverAConnectionThatIsNotReusable)
{
    ScriptedServer server(echo);
    server.ignoreErrors();
    const Request request = get(server);
    const ExchangeResponse first = exchange(request);
    bodyOf(first);
    bodyOf(exchange(first.getConnection(), request));
    const ExchangeResponse unread = exchange(first.getConnection(), request);
    expectFailure([&] { exchange(first.getConnection(), request); }, ExchangeException::E_CONNECT,
                  ExchangeException::E_ERROR, "cannot be used again");
    bodyOf(unread);
    EXPECT_NE(seen(exchange(first.getConnection(), request)), "");
}

} // namespace
