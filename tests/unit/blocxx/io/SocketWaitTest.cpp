#include "Peers.hpp"
#include "support/Descriptor.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <istream>
#include <ostream>
#include <string>

using blocxx::Socket;
using blocxx::SocketAddress;
using blocxx::SocketFlags;
using blocxx::Timeout;
using zol_test::Descriptor;
using zol_test::loopback;
using zol_test::LoopbackSocket;
using zol_test::readUpTo;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

namespace
{

void echoFour(ServerConnection& connection)
{
    connection.send(connection.receive(4));
}

void waitForThePeer(ServerConnection& connection)
{
    connection.waitUntilPeerCloses();
}

} // namespace

TEST(SocketWait, ForInputIsFalseOnceThereIsSomethingToRead)
{
    ScriptedServer server(echoFour);
    Socket socket;
    socket.connect(loopback(server.port()));
    EXPECT_TRUE(socket.waitForInput(Timeout::relative(0.05F)));
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_TRUE(socket.receiveTimeOutExpired());
    socket.write("ping", 4);
    EXPECT_FALSE(socket.waitForInput());
    EXPECT_FALSE(socket.receiveTimeOutExpired());
    EXPECT_EQ(readUpTo(socket, 4), "ping");
    // The end of the stream can be read as well.
    EXPECT_FALSE(socket.waitForInput());
}

TEST(SocketWait, ForOutputIsFalseUntilNothingMoreFits)
{
    ScriptedServer server([](ServerConnection& connection) { connection.pause(std::chrono::seconds(10)); });
    Socket socket;
    socket.connect(loopback(server.port()));
    EXPECT_FALSE(socket.waitForOutput(Timeout::relative(0)));
    socket.setSendTimeout(Timeout::relative(0));
    const std::string block(1 << 20, 'x');
    while (socket.write(block.data(), static_cast<int>(block.size())) > 0)
    {
    }
    EXPECT_TRUE(socket.waitForOutput(Timeout::relative(0.05F)));
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_FALSE(socket.receiveTimeOutExpired());
}

TEST(SocketWait, OnASocketThatIsNotConnectedFails)
{
    Socket socket;
    errno = 0;
    EXPECT_TRUE(socket.waitForInput());
    EXPECT_EQ(errno, ENOTCONN);
    errno = 0;
    EXPECT_TRUE(socket.waitForOutput());
    EXPECT_EQ(errno, ENOTCONN);
    EXPECT_FALSE(socket.receiveTimeOutExpired());
}

TEST(SocketWait, ReceiveTimeOutExpiredIsAboutTheLastRead)
{
    ScriptedServer server(echoFour);
    Socket socket;
    socket.connect(loopback(server.port()));
    EXPECT_FALSE(socket.receiveTimeOutExpired());
    socket.setReceiveTimeout(Timeout::relative(0));
    char byte = 0;
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_TRUE(socket.receiveTimeOutExpired());
    const Socket copy(socket);
    EXPECT_TRUE(copy.receiveTimeOutExpired());
    socket.setReceiveTimeout(Timeout::relative(10));
    socket.write("ping", 4);
    EXPECT_EQ(socket.read(&byte, 1), 1);
    EXPECT_FALSE(socket.receiveTimeOutExpired());
}

TEST(SocketStreams, ReadAndWriteTheConnection)
{
    ScriptedServer server(echoFour);
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.getOutputStream() << "ping" << std::flush;
    std::string word;
    socket.getInputStream() >> word;
    EXPECT_EQ(word, "ping");
    EXPECT_TRUE(socket.getInputStream().eof());
    EXPECT_FALSE(socket.getInputStream().bad());
}

TEST(SocketStreams, BelongToAllCopies)
{
    Socket socket;
    const Socket before(socket);
    Socket copy(socket);
    EXPECT_EQ(&copy.getInputStream(), &socket.getInputStream());
    EXPECT_EQ(&copy.getOutputStream(), &socket.getOutputStream());
}

TEST(SocketStreams, ReadErrorsGiveBadAndWriteErrorsThrow)
{
    Socket socket;
    EXPECT_EQ(socket.getInputStream().get(), std::char_traits<char>::eof());
    EXPECT_TRUE(socket.getInputStream().bad());
    EXPECT_THROW(socket.getOutputStream() << "x" << std::flush, std::ios_base::failure);
}

TEST(SocketStreams, EndWithTheConnectionAndStartAfreshWithTheNext)
{
    ScriptedServer first(waitForThePeer);
    ScriptedServer second(echoFour);
    Socket socket;
    socket.connect(loopback(first.port()));
    socket.getOutputStream() << "dropped";
    socket.disconnect();
    EXPECT_EQ(socket.getInputStream().rdstate(), std::ios::eofbit);
    EXPECT_EQ(socket.getOutputStream().rdstate(), std::ios::eofbit);
    socket.connect(loopback(second.port()));
    EXPECT_TRUE(socket.getInputStream().good());
    socket.getOutputStream() << "ping" << std::flush;
    std::string word;
    socket.getInputStream() >> word;
    EXPECT_EQ(word, "ping");
}

TEST(SocketStreams, OfAFailedConnectionKeepTheirState)
{
    ScriptedServer server(waitForThePeer);
    Socket socket;
    socket.connect(loopback(server.port()));
    socket.setReceiveTimeout(Timeout::relative(0));
    socket.getInputStream().get();
    socket.disconnect();
    EXPECT_TRUE(socket.getInputStream().bad());
}

TEST(SocketAdoption, TakesOverAConnectedDescriptor)
{
    ScriptedServer server(echoFour);
    const Descriptor kept(::socket(AF_INET, SOCK_STREAM, 0));
    const SocketAddress address = loopback(server.port());
    ASSERT_EQ(::connect(kept.get(), address.getNativeForm(), sizeof(sockaddr_in)), 0);
    const int given = ::dup(kept.get());
    {
        Socket socket(given, SocketAddress::INET);
        EXPECT_TRUE(socket.isConnected());
        EXPECT_EQ(socket.getfd(), given);
        EXPECT_EQ(socket.getSelectObj(), given);
        EXPECT_TRUE(::fcntl(given, F_GETFD) & FD_CLOEXEC);
        EXPECT_EQ(socket.getPeerAddress().toString(), server.address().c_str());
        EXPECT_EQ(socket.getSSL(), nullptr);
        EXPECT_FALSE(socket.peerCertVerified());
        socket.write("ping", 4);
        EXPECT_EQ(readUpTo(socket, 4), "ping");
    }
    EXPECT_EQ(::fcntl(given, F_GETFD), -1) << "the descriptor is still open";
}

TEST(SocketAdoption, OfWhatIsNotADescriptorFails)
{
    EXPECT_THROW(Socket(-1, SocketAddress::INET), blocxx::SocketException);
}

TEST(SocketAdoption, DoesNotMakeTLSOfAConnection)
{
    const LoopbackSocket listener(LoopbackSocket::E_LISTENING);
    EXPECT_THROW(Socket(listener.descriptor.get(), SocketAddress::INET, SocketFlags::E_SSL), blocxx::SSLException);
    EXPECT_NE(::fcntl(listener.descriptor.get(), F_GETFD), -1) << "the caller's descriptor was closed";
}

TEST(SocketConnect, CanBeDoneByTheConstructor)
{
    ScriptedServer server(echoFour);
    Socket socket(loopback(server.port()));
    EXPECT_TRUE(socket.isConnected());
    socket.write("ping", 4);
    EXPECT_EQ(readUpTo(socket, 4), "ping");
    const LoopbackSocket closed(LoopbackSocket::E_BOUND);
    EXPECT_THROW(Socket(loopback(closed.port)), blocxx::SocketException);
    EXPECT_THROW(Socket(loopback(server.port()), SocketFlags::E_SSL), blocxx::SSLException);
}
