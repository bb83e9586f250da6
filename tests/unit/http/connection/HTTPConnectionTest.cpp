#include "zol/http/HTTPConnection.hpp"

#include "support/ConnectTo.hpp"
#include "support/Descriptor.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/NULLReferenceException.hpp"
#include "blocxx/SocketException.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <istream>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using blocxx::SocketAddress;
using blocxx::SSLClientCtxRef;
using blocxx::Timeout;
using zol_test::connectTo;
using zol_test::resetAfterOneByte;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using ZOLNS2::HTTP::HTTPConnection;

std::string readAll(std::istream& input)
{
    return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

TEST(HTTPConnection, BothSidesAreGoodAfterOpening)
{
    ScriptedServer server([](ServerConnection& peer) { peer.waitUntilPeerCloses(); });
    HTTPConnection connection = connectTo(server);
    EXPECT_TRUE(connection.istream().good());
    EXPECT_TRUE(connection.ostream().good());
}

TEST(HTTPConnection, BothSidesShareOneState)
{
    ScriptedServer server([](ServerConnection& peer) { peer.waitUntilPeerCloses(); });
    HTTPConnection connection = connectTo(server);
    connection.ostream().setstate(std::ios::failbit);
    EXPECT_TRUE(connection.istream().fail());
}

TEST(HTTPConnection, WritesGoOutWhenFlushed)
{
    ScriptedServer server([](ServerConnection& peer) { peer.send("got " + peer.receive(4)); });
    HTTPConnection connection = connectTo(server);
    connection.ostream() << "ping" << std::flush;
    EXPECT_EQ(readAll(connection.istream()), "got ping");
}

TEST(HTTPConnection, WritesAreKeptBackUpTo64KiB)
{
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            const std::string first = peer.receive(65536);
            peer.send(std::string(1, first[65535]));
            peer.waitUntilPeerCloses();
        });
    HTTPConnection connection = connectTo(server);
    connection.ostream() << std::string(65535, 'a');
    connection.ostream() << std::string(2, 'b');
    EXPECT_EQ(connection.istream().get(), 'b') << "a full buffer is sent without a flush";
}

TEST(HTTPConnection, WritesOf64KiBAreHeldBackWhole)
{
    ScriptedServer server([](ServerConnection& peer) { peer.receiveUntilEnd(); });
    {
        HTTPConnection connection = connectTo(server);
        connection.ostream() << std::string(1, 'a');
        connection.ostream() << std::string(65535, 'b');
        EXPECT_TRUE(connection.ostream().good());
    }
    ASSERT_TRUE(server.waitForConnections(1));
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(server.requests().at(0), "") << "a smaller buffer would have been sent";
}

TEST(HTTPConnection, ReadsAskForUpTo64KiB)
{
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            const std::string block(1 << 20, 'x');
            for (int i = 0; i < 16; ++i)
            {
                peer.send(block);
            }
        });
    HTTPConnection connection = connectTo(server);
    std::streamsize largest = 0;
    while (connection.istream().get() != std::istream::traits_type::eof())
    {
        // What one read from the socket brought, less the byte taken.
        const std::streamsize buffered = connection.istream().rdbuf()->in_avail();
        largest = std::max(largest, buffered + 1);
        connection.istream().ignore(buffered);
    }
    EXPECT_EQ(largest, 65536);
}

TEST(HTTPConnection, DroppingTheLastHandleSendsNothing)
{
    ScriptedServer server([](ServerConnection& peer) { peer.receiveUntilEnd(); });
    {
        HTTPConnection connection = connectTo(server);
        connection.ostream() << "never flushed";
    }
    ASSERT_TRUE(server.waitForConnections(1));
    ASSERT_TRUE(server.waitUntilIdle());
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0], "");
}

TEST(HTTPConnection, CopyKeepsTheConnectionOpenAndReadable)
{
    ScriptedServer server([](ServerConnection& peer) { peer.send("got " + peer.receive(4)); });
    auto first = std::make_unique<HTTPConnection>(connectTo(server));
    HTTPConnection copy = *first;
    first.reset();
    copy.ostream() << "ping" << std::flush;
    EXPECT_EQ(readAll(copy.istream()), "got ping");
}

TEST(HTTPConnection, CopiesShareOneStream)
{
    ScriptedServer server([](ServerConnection& peer) { peer.waitUntilPeerCloses(); });
    HTTPConnection connection = connectTo(server);
    HTTPConnection copy = connection;
    EXPECT_EQ(&copy.istream(), &connection.istream());
    EXPECT_EQ(&copy.ostream(), &connection.ostream());
}

TEST(HTTPConnection, LastHandleClosesTheSocket)
{
    ScriptedServer server([](ServerConnection& peer) { EXPECT_TRUE(peer.waitUntilPeerCloses()); });
    auto first = std::make_unique<HTTPConnection>(connectTo(server));
    auto second = std::make_unique<HTTPConnection>(*first);
    ASSERT_TRUE(server.waitForConnections(1));
    first.reset();
    EXPECT_FALSE(server.waitUntilIdle(std::chrono::milliseconds(100))) << "the second handle holds it";
    second.reset();
    EXPECT_TRUE(server.waitUntilIdle());
}

TEST(HTTPConnection, AssignmentReleasesTheOldConnection)
{
    ScriptedServer abandoned([](ServerConnection& peer) { EXPECT_TRUE(peer.waitUntilPeerCloses()); });
    ScriptedServer kept([](ServerConnection& peer) { peer.send("kept"); });
    HTTPConnection connection = connectTo(abandoned);
    const HTTPConnection other = connectTo(kept);
    ASSERT_TRUE(abandoned.waitForConnections(1));
    connection = other;
    EXPECT_TRUE(abandoned.waitUntilIdle());
    EXPECT_EQ(readAll(connection.istream()), "kept");
}

TEST(HTTPConnection, AssignmentToItselfChangesNothing)
{
    ScriptedServer server([](ServerConnection& peer) { peer.send("still here"); });
    HTTPConnection connection = connectTo(server);
    const HTTPConnection& itself = connection;
    connection = itself;
    EXPECT_EQ(readAll(connection.istream()), "still here");
}

TEST(HTTPConnection, HandleThatWasMovedFromStillSharesTheConnection)
{
    ScriptedServer server([](ServerConnection& peer) { peer.send("xy"); });
    HTTPConnection connection = connectTo(server);
    HTTPConnection taken = std::move(connection);       // NOLINT(performance-move-const-arg): a move is a copy
    EXPECT_EQ(&connection.istream(), &taken.istream()); // NOLINT(bugprone-use-after-move)
    HTTPConnection assigned = taken;
    assigned = std::move(taken);                      // NOLINT(performance-move-const-arg)
    EXPECT_EQ(&taken.ostream(), &assigned.ostream()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(readAll(connection.istream()), "xy");
}

TEST(HTTPConnection, OrderlyEndIsEndOfFileAndNotBad)
{
    ScriptedServer server([](ServerConnection& peer) { peer.send("abc"); });
    HTTPConnection connection = connectTo(server);
    char block[16];
    connection.istream().read(block, sizeof block);
    EXPECT_EQ(connection.istream().gcount(), 3);
    EXPECT_TRUE(connection.istream().eof());
    EXPECT_TRUE(connection.istream().fail());
    EXPECT_FALSE(connection.istream().bad());
}

TEST(HTTPConnection, ReadErrorIsBad)
{
    ScriptedServer server(resetAfterOneByte);
    HTTPConnection connection = connectTo(server);
    connection.ostream() << 'x' << std::flush;
    EXPECT_EQ(readAll(connection.istream()), "");
    EXPECT_TRUE(connection.istream().bad());
}

TEST(HTTPConnection, WriteErrorIsBadOnBothSides)
{
    ScriptedServer server(resetAfterOneByte);
    HTTPConnection connection = connectTo(server);
    connection.ostream() << 'x' << std::flush;
    ASSERT_TRUE(server.waitForConnections(1));
    ASSERT_TRUE(server.waitUntilIdle());
    const std::string block(65536, 'y');
    for (int i = 0; i < 100 && connection.ostream(); ++i)
    {
        connection.ostream() << block << std::flush;
    }
    EXPECT_TRUE(connection.ostream().bad());
    EXPECT_TRUE(connection.istream().bad());
}

TEST(HTTPConnection, RefusedConnectThrowsTheSocketException)
{
    const zol_test::LoopbackSocket closed(zol_test::LoopbackSocket::E_BOUND);
    const SocketAddress address = SocketAddress::getByName("127.0.0.1", closed.port);
    EXPECT_THROW(HTTPConnection(address, SSLClientCtxRef(), Timeout::relative(10)), blocxx::SocketException);
}

TEST(HTTPConnection, TimeoutBoundsTheConnect)
{
    const zol_test::LoopbackSocket crowded(zol_test::LoopbackSocket::E_LISTENING, false, 0);
    const SocketAddress address = SocketAddress::getByName("127.0.0.1", crowded.port);
    // Nothing accepts: the first few connections fill the queue, the next one gets no response.
    std::vector<HTTPConnection> queued;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THROW(
        {
            for (int i = 0; i < 20; ++i)
            {
                queued.push_back(HTTPConnection(address, SSLClientCtxRef(), Timeout::relative(0.3F)));
            }
        },
        blocxx::SocketException);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(HTTPConnection, TimeoutDoesNotBoundReading)
{
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            peer.pause(std::chrono::milliseconds(600));
            peer.send("late");
        });
    HTTPConnection connection = connectTo(server, Timeout::relative(0.3F));
    EXPECT_EQ(readAll(connection.istream()), "late");
}

} // namespace
