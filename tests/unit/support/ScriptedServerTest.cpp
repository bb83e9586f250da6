#include "support/ScriptedServer.hpp"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <cerrno>
#include <string>

namespace
{

using zol_test::Descriptor;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

// A blocking client of its own, so that the server is tested without the library.
Descriptor connectTo(std::uint16_t port)
{
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval limit = {10, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return socket;
}

void say(const Descriptor& socket, const std::string& text)
{
    EXPECT_EQ(::send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
}

std::string readAll(const Descriptor& socket)
{
    std::string all;
    char block[1000];
    ssize_t count = 0;
    while ((count = ::recv(socket.get(), block, sizeof block, 0)) > 0)
    {
        all.append(block, static_cast<std::size_t>(count));
    }
    return all + (count < 0 ? "<" + std::string(strerrorname_np(errno)) + ">" : "");
}

TEST(ScriptedServer, ServesEveryConnectionByTheScript)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send("number " + std::to_string(c.index()) + ": " + c.receive(3));
        });
    for (const char* expected : {"number 0: abc", "number 1: abc"})
    {
        const Descriptor client = connectTo(server.port());
        say(client, "GET / HTTP/1.1\r\n\r\nabc");
        EXPECT_EQ(readAll(client), expected);
    }
    EXPECT_TRUE(server.waitForConnections(2));
    EXPECT_EQ(server.requests(), std::vector<std::string>(2, "GET / HTTP/1.1\r\n\r\nabc"));
}

TEST(ScriptedServer, AResetIsAReset)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receive(1);
            c.reset();
        });
    const Descriptor client = connectTo(server.port());
    say(client, "x");
    EXPECT_EQ(readAll(client), "<ECONNRESET>");
}

TEST(ScriptedServer, ReceivesUntilTheEnd)
{
    std::string received;
    ScriptedServer server([&](ServerConnection& c) { received = c.receiveUntilEnd(); });
    {
        const Descriptor client = connectTo(server.port());
        say(client, std::string(100000, 'q'));
    }
    ASSERT_TRUE(server.waitForConnections(1));
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(received, std::string(100000, 'q'));
}

TEST(ScriptedServer, ErrorsOfScriptsAreKept)
{
    ScriptedServer::Options options;
    options.limit = std::chrono::milliseconds(20);
    ScriptedServer server(options, [](ServerConnection& c) { c.receiveHead(); });
    const Descriptor client = connectTo(server.port());
    ASSERT_TRUE(server.waitForConnections(1));
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(server.errors(), std::vector<std::string>{"connection 0: did not receive a head in time"});
}

TEST(ScriptedServer, DestructionInterruptsScripts)
{
    const auto start = std::chrono::steady_clock::now();
    Descriptor client;
    {
        ScriptedServer server([](ServerConnection& c) { c.waitUntilPeerCloses(std::chrono::minutes(1)); });
        client = connectTo(server.port());
        ASSERT_TRUE(server.waitForConnections(1));
    }
    EXPECT_EQ(readAll(client), "");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(ScriptedServer, TellsWhetherThePeerHasClosed)
{
    bool closedEarly = true;
    bool closed = false;
    ScriptedServer server(
        [&](ServerConnection& c)
        {
            closedEarly = c.waitUntilPeerCloses(std::chrono::milliseconds(20));
            c.send("go");
            closed = c.waitUntilPeerCloses();
        });
    {
        const Descriptor client = connectTo(server.port());
        char go[2];
        EXPECT_EQ(::recv(client.get(), go, 2, MSG_WAITALL), 2);
    }
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_FALSE(closedEarly);
    EXPECT_TRUE(closed);
}

TEST(LoopbackSocket, ABoundPortRefuses)
{
    const zol_test::LoopbackSocket bound(zol_test::LoopbackSocket::E_BOUND);
    const Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(bound.port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
}

} // namespace
