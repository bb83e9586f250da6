#include "zol/http/ExchangeConnection.hpp"

#include "ExchangeWith.hpp"

#include <atomic>
#include <string>

namespace
{

using namespace exchange_test;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

const std::string KEPT = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody";

/// Responds to each request on one connection with the next of these, and then ends the connection in order.
ScriptedServer::Script respondingInTurn(std::vector<std::string> responses)
{
    return [responses](ServerConnection& connection)
    {
        for (const std::string& response : responses)
        {
            connection.receiveHead();
            connection.send(response);
        }
        connection.waitUntilPeerCloses();
    };
}

bool isReusableAfter(const std::string& response, const std::string& method = "GET", const Headers& headers = Headers(),
                     ZOLNS2::HTTP::Version version = ZOLNS2::HTTP::HTTP_1_1)
{
    ScriptedServer server(respondingInTurn({response}));
    server.ignoreErrors();
    const Request request(RequestLine(method.c_str(), "/", server.address().c_str(), version), headers,
                          blocxx::SSLClientCtxRef());
    const ExchangeResponse received = exchange(request);
    bodyOf(received);
    return received.reusable();
}

Headers connectionField(const char* value)
{
    Headers headers;
    headers.addHeader("Connection", value);
    return headers;
}

TEST(ExchangeConnection, IsReusableOnceTheEndOfTheBodyWasReported)
{
    ScriptedServer server(respondingInTurn({KEPT}));
    const ExchangeResponse response = exchange(get(server));
    EXPECT_FALSE(response.reusable());
    const auto state = response.getContent()->createInitialStreamState();
    char block[4];
    EXPECT_EQ(response.getContent()->getData(block, sizeof block, state), 4U);
    EXPECT_FALSE(response.reusable());
    EXPECT_EQ(response.getContent()->getData(block, sizeof block, state), ZOLNS2::MIME::END_OF_DATA);
    EXPECT_TRUE(response.reusable());
}

TEST(ExchangeConnection, IsReusableBehindATrailer)
{
    EXPECT_TRUE(isReusableAfter("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\nX: 1\r\n\r\n"));
}

TEST(ExchangeConnection, IsReusableAtOnceWithoutABody)
{
    EXPECT_TRUE(isReusableAfter("HTTP/1.1 204 No Content\r\n\r\n"));
    EXPECT_TRUE(isReusableAfter("HTTP/1.1 304 Not Modified\r\nContent-Length: 4\r\n\r\n"));
    EXPECT_TRUE(isReusableAfter("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\n", "HEAD"));
}

TEST(ExchangeConnection, NeedsExactFraming)
{
    EXPECT_FALSE(
        isReusableAfter("HTTP/1.1 200 OK\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"));
    EXPECT_FALSE(isReusableAfter("HTTP/1.1 101 Switching Protocols\r\n\r\n"));
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 200 OK\r\n\r\nbody"));
    const ExchangeResponse toClose = exchange(get(server));
    bodyOf(toClose);
    EXPECT_FALSE(toClose.reusable());
}

TEST(ExchangeConnection, NeedsTheConsentOfBothSides)
{
    EXPECT_FALSE(isReusableAfter("HTTP/1.1 200 OK\r\nConnection: Close\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_FALSE(isReusableAfter("HTTP/1.1 200 OK\r\nConnection: x, close\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_FALSE(isReusableAfter(KEPT, "GET", connectionField("close")));
    EXPECT_FALSE(isReusableAfter("HTTP/1.0 200 OK\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_TRUE(isReusableAfter("HTTP/1.0 200 OK\r\nConnection: keep-alive\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_FALSE(isReusableAfter(KEPT, "GET", Headers(), ZOLNS2::HTTP::HTTP_1_0));
    EXPECT_TRUE(isReusableAfter(KEPT, "GET", connectionField("keep-alive"), ZOLNS2::HTTP::HTTP_1_0));
}

TEST(ExchangeConnection, IsNotReusableWithBytesBehindTheBody)
{
    EXPECT_FALSE(isReusableAfter(KEPT + "X"));
}

TEST(ExchangeConnection, IsNotReusableOnceTheServerHasClosedIt)
{
    ScriptedServer server(zol_test::respondingWith(KEPT));
    const ExchangeResponse response = exchange(get(server));
    bodyOf(response);
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_FALSE(response.reusable());
    const auto failure = failureOf([&] { exchange(response.getConnection(), get(server)); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->phase(), ExchangeException::E_CONNECT);
    EXPECT_EQ(failure->cause(), ExchangeException::E_CUT);
    EXPECT_TRUE(failure->isSafeToRepeat());
}

TEST(ExchangeConnection, ServesTwoHundredExchanges)
{
    std::vector<std::string> responses;
    for (int i = 0; i < 200; ++i)
    {
        const std::string body = "body " + std::to_string(i);
        responses.push_back("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }
    ScriptedServer server(respondingInTurn(responses));
    ExchangeResponse response = exchange(get(server));
    for (int i = 0;; ++i)
    {
        ASSERT_EQ(bodyOf(response), "body " + std::to_string(i));
        if (i == 199)
        {
            break;
        }
        ASSERT_TRUE(response.reusable());
        response = exchange(response.getConnection(), get(server));
    }
    EXPECT_EQ(server.connections(), 1U);
}

TEST(ExchangeConnection, WithAnUnreadBodyIsRefusedBeforeAnythingIsSent)
{
    ScriptedServer server(respondingInTurn({KEPT}));
    const ExchangeResponse first = exchange(get(server));
    expectFailure([&] { exchange(first.getConnection(), get(server)); }, ExchangeException::E_CONNECT,
                  ExchangeException::E_ERROR, "cannot be used again");
    EXPECT_EQ(bodyOf(first), "body");
}

TEST(ExchangeConnection, ForAnotherServerIsRefusedBeforeAnythingIsSent)
{
    ScriptedServer server(respondingInTurn({KEPT}));
    ScriptedServer other(zol_test::respondingWith(KEPT));
    const ExchangeResponse first = exchange(get(server));
    bodyOf(first);
    expectFailure([&] { exchange(first.getConnection(), get(other)); }, ExchangeException::E_CONNECT,
                  ExchangeException::E_ERROR, "was not opened for 127.0.0.1:" + std::to_string(other.port()));
    EXPECT_EQ(other.connections(), 0U);
    EXPECT_TRUE(first.reusable());
}

TEST(ExchangeConnection, ThatEndsBeforeTheFirstByteOfAResponseIsSafeToRepeat)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(KEPT);
            connection.receiveHead();
        });
    const ExchangeResponse first = exchange(get(server));
    bodyOf(first);
    const auto failure = failureOf([&] { exchange(first.getConnection(), get(server)); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->cause(), ExchangeException::E_CUT);
    EXPECT_TRUE(failure->isSafeToRepeat());
    EXPECT_EQ(server.connections(), 1U);
}

TEST(ExchangeConnection, ThatEndsWithinAHeadIsNotSafeToRepeat)
{
    ScriptedServer server(respondingInTurn({KEPT}));
    ScriptedServer cutting(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(KEPT);
            connection.receiveHead();
            connection.send("H");
        });
    const ExchangeResponse first = exchange(get(cutting));
    bodyOf(first);
    const auto failure = failureOf([&] { exchange(first.getConnection(), get(cutting)); });
    ASSERT_TRUE(failure);
    EXPECT_FALSE(failure->isSafeToRepeat());
}

TEST(ExchangeConnection, NamesItsPeer)
{
    ScriptedServer server(zol_test::respondingWith(KEPT));
    const ExchangeResponse response = exchange(get(server));
    EXPECT_EQ(textOf(response.getConnection().getPeerAddress().toString()), server.address());
    EXPECT_FALSE(response.getConnection().getTlsFacts());
}

} // namespace
