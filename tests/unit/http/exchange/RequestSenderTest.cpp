#include "exchange/RequestSender.hpp"

#include "ExchangeWith.hpp"
#include "support/ScriptedContent.hpp"

#include "zol/mime/ContentException.hpp"

#include <chrono>
#include <string>

namespace
{

using namespace exchange_test;
using zol_test::scripted;
using zol_test::ScriptedContent;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

const std::string OK = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";

/// Takes a request with a body of that size.
ScriptedServer::Script taking(size_t size, std::string response = OK)
{
    return [=](ServerConnection& connection)
    {
        connection.receiveHead();
        connection.receive(size);
        connection.send(response);
    };
}

std::string sentBy(const ContentRef& content, size_t size)
{
    ScriptedServer server(taking(size));
    EXPECT_EQ(exchange(post(server, content, size)).getStatus(), 200);
    EXPECT_TRUE(server.waitUntilIdle());
    const std::string all = server.requests().at(0);
    return all.substr(all.find("\r\n\r\n") + 4);
}

TEST(ExchangeSending, WritesTheRequestAsItIsGiven)
{
    ScriptedServer server(zol_test::respondingWith(OK));
    Headers headers;
    headers.addHeader("Host", "example.com");
    headers.addHeader("X-a", "1");
    exchange(requestOf("GET", server.address(), headers));
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(server.requests().at(0), "GET /page HTTP/1.1\r\nHost: example.com\r\nX-a: 1\r\n\r\n");
}

TEST(ExchangeSending, SendsSmallAndLargeContentsWhole)
{
    EXPECT_EQ(sentBy(scripted({"one ", "", "two"}), 7), "one two");
    const std::string large = zol_test::distinctBytes(300000);
    EXPECT_TRUE(sentBy(scripted({large}), large.size()) == large);
    EXPECT_EQ(sentBy(scripted({}), 0), "");
}

TEST(ExchangeSending, WhatTheContentThrowsIsTheCause)
{
    ScriptedServer server([](ServerConnection& connection) { connection.receiveUntilEnd(); });
    const auto content = scripted({"data", "more"});
    content->throwAtPiece = 1;
    expectFailure([&] { exchange(post(server, content, 8)); }, ExchangeException::E_SEND, ExchangeException::E_ERROR,
                  "The content of the request failed: scripted failure");
}

TEST(ExchangeSending, ABlocxxExceptionOfTheContentIsCarried)
{
    class Failing : public ScriptedContent
    {
    public:
        Failing() : ScriptedContent({"data"}) {}
        size_t getData(char*, size_t, const ZOLNS2::MIME::ContentStreamStateRef&) override
        {
            throw ZOLNS2::MIME::ContentException("unit", 1, "its own reason", 7);
        }
    };
    ScriptedServer server([](ServerConnection& connection) { connection.receiveUntilEnd(); });
    const auto failure = failureOf([&] { exchange(post(server, ContentRef(new Failing), 4)); });
    ASSERT_TRUE(failure);
    ASSERT_NE(failure->getSubException(), nullptr);
    EXPECT_STREQ(failure->getSubException()->type(), "ContentException");
    EXPECT_EQ(failure->getSubException()->getErrorCode(), 7);
}

TEST(ExchangeSending, ContentThatRefusesAReaderFailsBeforeTheConnect)
{
    const auto content = scripted({"data"});
    content->refusesReaders = true;
    ScriptedServer server(zol_test::respondingWith(OK));
    expectFailure([&] { exchange(post(server, content, 4)); }, ExchangeException::E_SEND, ExchangeException::E_ERROR,
                  "scripted refusal");
    EXPECT_EQ(server.connections(), 0U);
}

TEST(ExchangeSending, MoreOrFewerBytesThanAnnouncedAreAFailure)
{
    ScriptedServer server([](ServerConnection& connection) { connection.receiveUntilEnd(); });
    const auto larger = scripted({"12345"});
    larger->announcedLength = 4;
    expectFailure([&] { exchange(post(server, larger, 4)); }, ExchangeException::E_SEND, ExchangeException::E_MALFORMED,
                  "more bytes than the 4 announced");
    const auto smaller = scripted({"123"});
    smaller->announcedLength = 4;
    expectFailure([&] { exchange(post(server, smaller, 4)); }, ExchangeException::E_SEND,
                  ExchangeException::E_MALFORMED, "fewer bytes than the 4 announced");
}

TEST(ExchangeSending, BlanksAroundTheAnnouncedLengthDoNotHideIt)
{
    ScriptedServer server([](ServerConnection& connection) { connection.receiveUntilEnd(); });
    const auto larger = scripted({"12345"});
    larger->announcedLength = 4;
    Headers headers;
    headers.addHeader("Content-Length", " 4\t");
    expectFailure([&] { exchange(requestOf("POST", server.address(), headers, larger)); }, ExchangeException::E_SEND,
                  ExchangeException::E_MALFORMED, "more bytes than the 4 announced");
}

TEST(ExchangeSending, ContentThatNeverEndsIsAFailure)
{
    ScriptedServer server([](ServerConnection& connection) { connection.receiveUntilEnd(); });
    std::vector<std::string> pieces(100);
    pieces[0] = "data";
    expectFailure([&] { exchange(post(server, scripted(pieces), 4)); }, ExchangeException::E_SEND,
                  ExchangeException::E_CUT, "nothing for 64 reads in a row");
}

TEST(ExchangeSending, AFinalResponseEndsIt)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 413 Too Large\r\nContent-Length: 4\r\n\r\nbody");
            connection.waitUntilPeerCloses();
        });
    const ExchangeResponse response = exchange(post(server, ContentRef(new HugeContent), HugeContent::SIZE));
    EXPECT_EQ(response.getStatus(), 413);
    EXPECT_EQ(bodyOf(response), "body");
    EXPECT_FALSE(response.reusable());
}

TEST(ExchangeSending, AnInterimResponseDoesNotEndIt)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 100 Continue\r\n\r\n");
            connection.receive(3000000);
            connection.send(OK);
        });
    const std::string large(3000000, 'x');
    EXPECT_EQ(exchange(post(server, scripted({large}), large.size())).getStatus(), 200);
}

TEST(ExchangeSending, AnEarlySuccessIsAFailure)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(OK);
            connection.waitUntilPeerCloses();
        });
    const auto failure = failureOf([&] { exchange(post(server, ContentRef(new HugeContent), HugeContent::SIZE)); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->phase(), ExchangeException::E_SEND);
    EXPECT_EQ(failure->status(), 200);
}

TEST(ExchangeSending, AServerThatClosesInTheMiddleIsAFailure)
{
    ScriptedServer server([](ServerConnection& connection) { connection.receiveHead(); });
    const auto failure = failureOf([&] { exchange(post(server, ContentRef(new HugeContent), HugeContent::SIZE)); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->phase(), ExchangeException::E_SEND) << failure->getMessage();
    EXPECT_TRUE(failure->cause() == ExchangeException::E_RESET || failure->cause() == ExchangeException::E_CUT);
}

TEST(ExchangeSending, ASendWithoutProgressTimesOut)
{
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    server.ignoreErrors();
    ScriptedServer deaf([](ServerConnection& connection) { connection.pause(std::chrono::seconds(9)); });
    ExchangeOptions options;
    options.progressTimeout = blocxx::Timeout::relative(0.3F);
    expectFailure([&] { exchange(post(deaf, ContentRef(new HugeContent), HugeContent::SIZE), options); },
                  ExchangeException::E_SEND, ExchangeException::E_TIMED_OUT, "no byte moved for 0.3 seconds");
}

TEST(ExchangeExpectation, SendsTheContentWhenAskedTo)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 100 Continue\r\n\r\n");
            connection.receive(4);
            connection.send(OK);
        });
    ExchangeOptions options;
    options.expectContinue = true;
    options.continueTimeout = blocxx::Timeout::relative(20);
    EXPECT_EQ(exchange(post(server, scripted({"data"}), 4), options).getStatus(), 200);
    EXPECT_NE(server.requests().at(0).find("\r\nExpect: 100-continue\r\n"), std::string::npos);
}

TEST(ExchangeExpectation, SendsTheContentAfterItsTimeAsWell)
{
    ScriptedServer server(taking(4));
    ExchangeOptions options;
    options.expectContinue = true;
    options.continueTimeout = blocxx::Timeout::relative(0.1F);
    EXPECT_EQ(exchange(post(server, scripted({"data"}), 4), options).getStatus(), 200);
}

TEST(ExchangeExpectation, AFinalResponseSparesTheContent)
{
    ScriptedServer server(
        [](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send("HTTP/1.1 417 Expectation Failed\r\nContent-Length: 0\r\n\r\n");
            connection.receiveUntilEnd();
        });
    ExchangeOptions options;
    options.expectContinue = true;
    options.continueTimeout = blocxx::Timeout::relative(20);
    {
        const ExchangeResponse response = exchange(post(server, scripted({"data"}), 4), options);
        EXPECT_EQ(response.getStatus(), 417);
        EXPECT_FALSE(response.reusable());
    }
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(server.requests().at(0).find("data"), std::string::npos);
}

TEST(ExchangeExpectation, IsNotSentUnlessAskedFor)
{
    ScriptedServer server(taking(4));
    exchange(post(server, scripted({"data"}), 4));
    EXPECT_EQ(server.requests().at(0).find("Expect"), std::string::npos);
}

} // namespace
