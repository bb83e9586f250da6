#include "RandomHeads.hpp"
#include "support/Allocations.hpp"
#include "support/LogCapture.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TextOf.hpp"

#include "zol/http/Exchange.hpp"
#include "zol/http/HTTPClient.hpp"
#include "zol/mime/UnbufferedContent.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// A fetch that nobody logs takes shorter ways than one whose records are wanted: the log chooses between the two here.

namespace
{

using blocxx::SSLClientCtxRef;
using blocxx::Timeout;
using zol_test::LogCapture;
using zol_test::LogRecord;
using zol_test::RandomHeads;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::textOf;
using namespace ZOLNS2;
using namespace ZOLNS2::HTTP;

Request requestFor(const ScriptedServer& server, const Headers& headers = Headers())
{
    return Request(RequestLine("GET", "/page", server.address().c_str(), HTTP_1_1), headers, SSLClientCtxRef());
}

/// Sends what the test has set, in two pieces, each time it is asked.
class PieceServer
{
public:
    PieceServer()
        : m_server(
              [this](ServerConnection& connection)
              {
                  connection.receiveHead();
                  const auto [bytes, cut] = current();
                  connection.send(bytes.substr(0, cut));
                  if (cut < bytes.size())
                  {
                      connection.pause(std::chrono::milliseconds(2));
                      connection.send(bytes.substr(cut));
                  }
              })
    {
    }

    void set(const std::string& bytes, std::size_t cut)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_current = {bytes, cut};
    }

    const ScriptedServer& server() const { return m_server; }

private:
    std::pair<std::string, std::size_t> current() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_current;
    }

    mutable std::mutex m_mutex;
    std::pair<std::string, std::size_t> m_current;
    ScriptedServer m_server;
};

/// All that can be seen of the pulling of a body, piece by piece.
void describeBody(const Response& response, std::size_t room, std::ostream& out)
{
    for (const MIME::ContentRef& content : response.contents)
    {
        const MIME::ContentStreamStateRef state = content->createInitialStreamState();
        out << toString(content->getContentType()).c_str() << ' ' << content->getContentType().getContentTypeString()
            << ' ' << content->hasContentLength() << ' ' << content->getContentLength() << '\n';
        EXPECT_THROW(static_cast<void>(content->createInitialStreamState()), blocxx::Exception);
        std::string buffer(room, '\0');
        for (int i = 0; i < 3; ++i)
        {
            std::string body;
            std::size_t count = 0;
            while ((count = content->getData(buffer.data(), room, state)) != MIME::END_OF_DATA)
            {
                body.append(buffer, 0, count);
                out << (count == room ? "" : "short read; ");
            }
            out << "[" << body << "] " << response.bodyIsComplete() << '\n';
        }
        const auto unbuffered = content.cast_to<MIME::UnbufferedContent>();
        out << unbuffered->endedBadly(state) << unbuffered->getTransferDecoder()->bodyIsComplete()
            << unbuffered->getTransferDecoder()->istream().rdstate()
            << unbuffered->getTransferDecoder()->getConnection().ostream().rdstate();
    }
}

/// All that can be seen of a fetch: the response and its body, or the exception.
std::string fetched(const PieceServer& server, std::size_t room)
{
    std::ostringstream out;
    try
    {
        Response response = getPage(requestFor(server.server()), Timeout::relative(10));
        out << textOf(response.statusLine.toString()) << '\n' << response.headers;
        out << textOf(response.contentType.getContentTypeString()) << '\n' << response.contentType << '\n';
        out << response.requestIsComplete() << response.bodyIsComplete() << response.currentPart << '\n';
        describeBody(response, room, out);
    }
    catch (const blocxx::Exception& e)
    {
        out << e.type() << ' ' << e.getErrorCode() << ' ' << e.getMessage() << ' ' << e.getFile();
    }
    return out.str();
}

TEST(SmallPage, IsTheSameWhetherItIsLoggedOrNot)
{
    PieceServer server;
    RandomHeads random(3);
    for (int i = 0; i < 150; ++i)
    {
        const std::string bytes = random.next() + std::string(random.below(300), 'b');
        server.set(bytes, random.oneIn(3) ? random.below(bytes.size() + 1) : bytes.size());
        const std::size_t room = random.oneIn(2) ? 65536 : 1 + random.below(200);
        const std::string unlogged = fetched(server, room);
        const LogCapture log;
        ASSERT_EQ(unlogged, fetched(server, room)) << bytes;
        ASSERT_FALSE(log.records().empty());
    }
}

TEST(SmallPage, IsTheSameAtEveryCut)
{
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: a/b; c=d\r\nB: 2\r\nA: 1\r\nContent-Length: 4\r\n\r\n";
    const std::string bytes = head + "body";
    PieceServer server;
    for (std::size_t length = 0; length <= bytes.size(); ++length)
    {
        server.set(bytes.substr(0, length), length);
        const std::string unlogged = fetched(server, 3);
        const LogCapture log;
        ASSERT_EQ(unlogged, fetched(server, 3)) << length;
    }
}

std::vector<std::tuple<std::string, std::string, std::string, std::string, int>>
comparable(const std::vector<LogRecord>& records, const std::string& category)
{
    std::vector<std::tuple<std::string, std::string, std::string, std::string, int>> found;
    for (const LogRecord& record : records)
    {
        if (record.category == category)
        {
            found.emplace_back(record.component, record.message, record.file, record.method, record.line);
        }
    }
    return found;
}

TEST(SmallPage, HasTheRecordsOfACategoryAtEveryLevelThatShowsIt)
{
    PieceServer server;
    for (const std::string bytes : {"HTTP/1.1 200 OK\r\nContent-Type: a/b\r\nA: 1\r\n\r\nbody",
                                    "HTTP/1.1 404 No\r\n\r\n", "HTTP/1.1 200 OK\r\nContent-Length: x\r\n\r\n", ""})
    {
        server.set(bytes, bytes.size());
        const LogCapture all;
        fetched(server, 100);
        for (const char* const category : {"ERROR", "DEBUG", "DEBUG2", "DEBUG3"})
        {
            const LogCapture one(category);
            fetched(server, 100);
            EXPECT_EQ(comparable(one.records(), category), comparable(all.records(), category)) << category << bytes;
        }
        EXPECT_FALSE(comparable(all.records(), "DEBUG3").empty());
    }
}

TEST(SmallPage, IsAskedForWithTheBytesOfTheRequestAtAnySize)
{
    PieceServer server;
    server.set("HTTP/1.1 200 OK\r\n\r\n", 100);
    RandomHeads random(4);
    for (const std::size_t lines : {0U, 1U, 5U, 30U, 300U, 1500U, 3000U})
    {
        Headers headers;
        for (std::size_t i = 0; i < lines; ++i)
        {
            const std::string line = random.plainLine();
            headers.addHeader(line.substr(0, line.find(':')).c_str(), line.substr(line.find(':') + 2).c_str());
        }
        const Request request = requestFor(server.server(), headers);
        std::ostringstream expected;
        expected << request;
        getPage(request, Timeout::relative(10));
        EXPECT_EQ(server.server().requests().back(), expected.str()) << lines;
    }
}

TEST(SmallPage, TakesFewAllocationsAndNoLargeOneFromTheSecondOfAThreadOn)
{
    PieceServer server;
    const std::string bytes = "HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=UTF-8\r\nContent-Length: 128\r\n"
                              "Connection: close\r\nServer: x\r\nDate: Sat, 01 Jan 2022 00:00:00 GMT\r\n\r\n" +
                              std::string(128, 'x');
    server.set(bytes, bytes.size());
    Headers headers;
    headers.addHeader("Host", "127.0.0.1");
    const Request request = requestFor(server.server(), headers);
    std::vector<char> buffer(65536);
    const auto fetch = [&]
    {
        Response response = getPage(request, Timeout::relative(10));
        const MIME::ContentRef content = response.getNextPart();
        const MIME::ContentStreamStateRef state = content->createInitialStreamState();
        EXPECT_EQ(content->getData(buffer.data(), buffer.size(), state), 128U);
        EXPECT_EQ(content->getData(buffer.data(), buffer.size(), state), MIME::END_OF_DATA);
    };
    fetch();
    const zol_test::Allocations second = zol_test::allocationsOf(fetch);
    EXPECT_LE(second.count, 14U);
    EXPECT_LE(second.bytes, 2048U);
}

/// What can be seen of an exchange, or the exception.
std::string exchanged(const PieceServer& server)
{
    std::ostringstream out;
    try
    {
        const ExchangeResponse response = exchange(requestFor(server.server()));
        out << textOf(response.getStatusLine().toString()) << '\n' << response.getHeaders();
        out << response.getContentType() << '\n';
        response.writeTo(out);
    }
    catch (const blocxx::Exception& e)
    {
        out << e.type() << ' ' << e.getErrorCode() << ' ' << e.getMessage();
    }
    return out.str();
}

TEST(SmallExchange, IsTheSameWhetherItsHeadArrivesWholeOrNot)
{
    PieceServer server;
    RandomHeads random(5);
    for (int i = 0; i < 150; ++i)
    {
        const std::string interim = random.oneIn(5) ? "HTTP/1.1 103 Early\r\nA: b\r\n\r\n" : "";
        const std::string head = random.next();
        const std::string bytes = interim + head + "bodybody";
        server.set(bytes, bytes.size());
        const std::string whole = exchanged(server);
        server.set(bytes, interim.size() + 1 + random.below(head.size() - 1));
        ASSERT_EQ(whole, exchanged(server)) << bytes;
    }
}

} // namespace
