// Handles that many threads copy and drop while others do the same.

#include "Getting.hpp"
#include "InAllThreads.hpp"
#include "Trust.hpp"
#include "support/ConnectTo.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TextOf.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/Cancellation.hpp"
#include "blocxx/LazyGlobal.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/Map.hpp"
#include "blocxx/Socket.hpp"
#include "zol/http/HTTPClient.hpp"
#include "zol/http/HTTPConnection.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>

#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using concurrency_test::inAllThreads;
using testing::IsEmpty;
using zol_test::textOf;
using namespace ZOLNS2;

constexpr int THREADS = 16;
constexpr int ROUNDS = 1000;

/// Copies, assigns and drops copies of a handle in all threads, the original among them, and uses each copy.
template <class Handle, class Use>
void copyInAllThreads(std::optional<Handle> original, Use use)
{
    const Handle kept = *original;
    std::vector<Handle> ofThreads(THREADS, kept);
    original.reset();
    EXPECT_THAT(inAllThreads(THREADS,
                             [&](int thread)
                             {
                                 Handle own = ofThreads[static_cast<std::size_t>(thread)];
                                 for (int round = 0; round < ROUNDS; ++round)
                                 {
                                     const Handle copy(own);
                                     use(copy);
                                     own = copy;
                                     own = kept;
                                 }
                                 use(own);
                             }),
                IsEmpty());
    use(kept);
}

template <class Handle, class Use>
void copyInAllThreads(const Handle& original, Use use)
{
    copyInAllThreads(std::optional<Handle>(original), use);
}

template <class T, class Pod, class Factory>
const T& made(const blocxx::LazyGlobal<T, Pod, Factory>& global)
{
    return global;
}

} // namespace

TEST(SharedHandles, OfContentsAndTheirReadings)
{
    const MIME::ContentRef text(new MIME::TextPlainContent("text"));
    copyInAllThreads(text, [](const MIME::ContentRef& content) { EXPECT_EQ(textOf(content), "text"); });
    const blocxx::IntrusiveReference<MIME::MultipartContent> form(new MIME::MultipartContent("form-data"));
    form->addField("name", text);
    copyInAllThreads(MIME::ContentRef(form),
                     [](const MIME::ContentRef& content) { EXPECT_FALSE(textOf(content).empty()); });
}

TEST(SharedHandles, OfValuesThatAreWrittenToByTheirOwnThreads)
{
    copyInAllThreads(blocxx::Array<blocxx::String>(3, "value"),
                     [](blocxx::Array<blocxx::String> values)
                     {
                         values.push_back("own");
                         EXPECT_EQ(values.size(), 4U);
                     });
    blocxx::Map<blocxx::String, blocxx::String> map;
    map["a"] = "1";
    copyInAllThreads(map,
                     [](blocxx::Map<blocxx::String, blocxx::String> own)
                     {
                         own["b"] = own["a"];
                         EXPECT_EQ(own.size(), 2U);
                     });
    HTTP::Headers headers;
    headers.addHeader("A", "1");
    copyInAllThreads(headers,
                     [](HTTP::Headers own)
                     {
                         own.addHeader("B", "2");
                         EXPECT_EQ(own.getHeaderValue("b"), "2");
                     });
}

TEST(SharedHandles, OfRequestsAndResponses)
{
    const HTTP::Request request = HTTP::RequestBuilder("GET", HTTP::Url("http://127.0.0.1/")).build();
    copyInAllThreads(request, [](const HTTP::Request& own) { EXPECT_EQ(own.getRequestLine().method, "GET"); });
    std::istringstream wire("HTTP/1.1 200 OK\r\nA: 1\r\n\r\nsome text");
    HTTP::Response response;
    wire >> response;
    copyInAllThreads(response,
                     [](HTTP::Response own)
                     {
                         EXPECT_EQ(own.headers.getHeaderValue("A"), "1");
                         EXPECT_EQ(textOf(own.getNextPart()), "some text");
                     });
}

TEST(SharedHandles, OfConnectionsAndSockets)
{
    zol_test::ScriptedServer server([](zol_test::ServerConnection& connection) { connection.receiveUntilEnd(); });
    copyInAllThreads(zol_test::connectTo(server), [](HTTP::HTTPConnection own) { EXPECT_TRUE(own.istream().good()); });
    blocxx::Socket socket;
    socket.connect(blocxx::SocketAddress::getByName("127.0.0.1", server.port()));
    copyInAllThreads(socket, [](const blocxx::Socket& own) { EXPECT_TRUE(own.isConnected()); });
}

TEST(SharedHandles, OfAnExchangesResponseAndConnection)
{
    zol_test::ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody"));
    const HTTP::Request request =
        HTTP::RequestBuilder("GET", HTTP::Url(("http://" + server.address() + "/").c_str())).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request);
    copyInAllThreads(response, [](const HTTP::ExchangeResponse& own) { EXPECT_EQ(own.getStatus(), 200); });
    copyInAllThreads(response.getConnection(),
                     [](const HTTP::ExchangeConnection& own) { EXPECT_FALSE(own.reusable()); });
    EXPECT_EQ(response.readAll().size(), 4U);
}

TEST(SharedHandles, OfContextsAndCancellations)
{
    const zol_test::Certificate authority = zol_test::makeAuthority();
    copyInAllThreads(zol_integration::trusting(authority),
                     [](const blocxx::SSLClientCtxRef& own) { EXPECT_NE(own->getSSLCtx(), nullptr); });
    copyInAllThreads(blocxx::Cancellation(), [](const blocxx::Cancellation& own) { EXPECT_FALSE(own.isCancelled()); });
}

// Run by itself, as ctest does, nothing in the process has used a name before.
TEST(FirstUse, OfEveryNameThatIsMadeLaterIsThatOfAllThreads)
{
    zol_test::ScriptedServer server(zol_test::respondingWith("HTTP/1.1 404 No\r\nContent-Length: 0\r\n\r\n"));
    const auto problems = inAllThreads(
        THREADS,
        [&](int)
        {
            EXPECT_FALSE(made(blocxx::Logger::STR_DEBUG3_CATEGORY).empty());
            EXPECT_FALSE(made(blocxx::Logger::STR_ERROR_CATEGORY).empty());
            EXPECT_FALSE(made(blocxx::LogAppender::ALL_COMPONENTS).empty());
            EXPECT_FALSE(made(blocxx::LogAppender::ALL_CATEGORIES).empty());
            EXPECT_FALSE(made(blocxx::LogAppender::STR_TTCC_MESSAGE_FORMAT).empty());
            EXPECT_FALSE(made(blocxx::LogAppender::TYPE_NULL).empty());
            // The units of the client, the response and the decoder, those of contents, and that of exchange.
            HTTP::Request request(HTTP::RequestLine("GET", "/", server.address().c_str(), HTTP::HTTP_1_1),
                                  HTTP::Headers(), MIME::ContentRef(), blocxx::SSLClientCtxRef());
            EXPECT_THROW(HTTP::getPage(request, blocxx::Timeout::relative(10)), blocxx::Exception);
            std::istringstream wire("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r\nsome text");
            HTTP::Response response;
            wire >> response;
            EXPECT_EQ(
                HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(("http://" + server.address()).c_str())).build())
                    .getStatus(),
                404);
            EXPECT_FALSE(MIME::MultipartContent("mixed").getBoundary().empty());
        });
    EXPECT_THAT(problems, IsEmpty());
}
