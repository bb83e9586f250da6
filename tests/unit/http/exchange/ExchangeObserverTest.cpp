#include "zol/http/ExchangeObserver.hpp"

#include "ExchangeWith.hpp"
#include "support/ScriptedContent.hpp"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace exchange_test;
using testing::ElementsAre;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

class Recorder : public ZOLNS2::HTTP::ExchangeObserver
{
public:
    void connected(const ZOLNS2::HTTP::ExchangeConnection& connection) override
    {
        events.push_back("connected to " + textOf(connection.getPeerAddress().toString()));
    }
    void sending(const blocxx::String& head) override { events.push_back(textOf(head)); }
    void received(const ZOLNS2::HTTP::StatusLine& line, const Headers& headers) override
    {
        events.push_back(std::to_string(line.statusCode) + " " + textOf(headers.getHeaderValue("X")));
    }

    std::vector<std::string> events;
};

TEST(ExchangeObserver, IsToldOfEveryHeadInItsOrder)
{
    ScriptedServer target(zol_test::respondingWith("HTTP/1.1 103 Early Hints\r\nX: early\r\n\r\n"
                                                   "HTTP/1.1 200 OK\r\nX: final\r\nContent-Length: 0\r\n\r\n"));
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 302 Found\r\nX: moved\r\nLocation: http://" +
                                                   target.address() + "/next\r\nContent-Length: 0\r\n\r\n"));
    Recorder recorder;
    ExchangeOptions options;
    options.observer = &recorder;
    options.mostRedirects = 1;
    options.decompress = true;
    exchange(get(server), options);
    EXPECT_THAT(
        recorder.events,
        ElementsAre("connected to " + server.address(), "GET /page HTTP/1.1\r\nAccept-Encoding: gzip, deflate\r\n\r\n",
                    "302 moved", "connected to " + target.address(),
                    "GET /next HTTP/1.1\r\nHost: " + target.address() + "\r\nAccept-Encoding: gzip, deflate\r\n\r\n",
                    "103 early", "200 final"));
}

TEST(ExchangeObserver, WhatItThrowsPassesThrough)
{
    class Throwing : public ZOLNS2::HTTP::ExchangeObserver
    {
        void sending(const blocxx::String&) override { throw std::logic_error("observer"); }
    };
    ScriptedServer server([](ServerConnection& connection) { connection.waitUntilPeerCloses(); });
    Throwing throwing;
    ExchangeOptions options;
    options.observer = &throwing;
    EXPECT_THROW(exchange(get(server), options), std::logic_error);
}

TEST(ExchangeObserver, IsToldNothingUnlessItAsks)
{
    ScriptedServer server(zol_test::respondingWith("HTTP/1.1 204 No Content\r\n\r\n"));
    ZOLNS2::HTTP::ExchangeObserver quiet;
    ExchangeOptions options;
    options.observer = &quiet;
    EXPECT_EQ(exchange(get(server), options).getStatus(), 204);
}

} // namespace
