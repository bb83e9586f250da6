// Chunks of one size over a socket: several come with one read, and are decoded as those of any other buffer.

#include "openwbem/internal/EqualChunks.hpp"

#include "ChunkedReading.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/Socket.hpp"
#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <istream>
#include <random>
#include <string>
#include <vector>

namespace
{

// What the next recvmsg of this thread asks for at most, and how many there were.
thread_local std::function<std::size_t()> mostOfARead;
thread_local int reads = 0;

} // namespace

// Takes the place of the C library's for the whole program, the libraries that it loads included. Waits until what it asks
// for is there, so that neither the scheduler nor the network decides where a read ends.
extern "C" __attribute__((visibility("default"))) ssize_t recvmsg(int socket, msghdr* message, int flags)
{
    const auto own = reinterpret_cast<ssize_t (*)(int, msghdr*, int)>(::dlsym(RTLD_NEXT, "recvmsg"));
    if (!mostOfARead)
    {
        return own(socket, message, flags);
    }
    ++reads;
    std::size_t room = std::max<std::size_t>(1, mostOfARead());
    std::vector<iovec> pieces(message->msg_iov, message->msg_iov + message->msg_iovlen);
    for (iovec& piece : pieces)
    {
        piece.iov_len = std::min(piece.iov_len, room);
        room -= piece.iov_len;
    }
    msghdr shortened = *message;
    shortened.msg_iov = pieces.data();
    // MSG_WAITALL does not wait on a descriptor that never blocks.
    const int mode = ::fcntl(socket, F_GETFL);
    ::fcntl(socket, F_SETFL, mode & ~O_NONBLOCK);
    const ssize_t result = own(socket, &shortened, MSG_WAITALL);
    ::fcntl(socket, F_SETFL, mode);
    return result;
}

namespace
{

using OpenWBEM::HTTPChunkedIStream;
using zol_test::inputStateOf;
using zol_test::PiecewiseConnection;
using zol_test::stateOf;

/// What a reader gets to know of a body.
struct Outcome
{
    std::string data;
    std::string state;
    std::string wrappedState;
    std::string left;
    blocxx::BaseStreamBuffer::EInputState end;
    int error;
};

/// Reads in blocks of that size up to the end.
Outcome read(std::istream& wrapped, std::size_t blockSize)
{
    HTTPChunkedIStream body(wrapped);
    Outcome outcome;
    std::vector<char> block(blockSize);
    do
    {
        body.read(block.data(), static_cast<std::streamsize>(block.size()));
        outcome.data.append(block.data(), static_cast<std::size_t>(body.gcount()));
    } while (body);
    outcome.state = stateOf(body);
    outcome.wrappedState = stateOf(wrapped);
    outcome.end = inputStateOf(body);
    outcome.error = dynamic_cast<blocxx::BaseStreamBuffer&>(*body.rdbuf()).inputError();
    wrapped.clear();
    outcome.left.assign(std::istreambuf_iterator<char>(wrapped), {});
    return outcome;
}

/// The same over a socket.
Outcome readFromSocket(const std::string& wire, std::size_t blockSize, std::function<std::size_t()> most,
                       int bufferSize = 65536)
{
    zol_test::ScriptedServer server(zol_test::sending(wire));
    blocxx::Socket socket;
    socket.connect(blocxx::SocketAddress::getByName("127.0.0.1", server.port()));
    blocxx::IOIFCStreamBuffer buffer(&socket, blocxx::BaseStreamBuffer::E_IN, bufferSize);
    std::istream wrapped(&buffer);
    mostOfARead = std::move(most);
    reads = 0;
    Outcome outcome = read(wrapped, blockSize);
    mostOfARead = nullptr;
    return outcome;
}

std::string chunk(std::size_t size, char fill, const char* format = "%zx\r\n")
{
    char start[40];
    std::snprintf(start, sizeof start, format, size);
    return start + std::string(size, fill) + "\r\n";
}

const std::size_t SIZES[] = {1, 100, 8191, 8192, 16384, 0xa000, 0xabcd, 65536, 0x12000};

/// Runs of equal chunks; now and then something else between them.
std::string randomBody(std::mt19937& random)
{
    const char* const formats[] = {"%zx\r\n", "%zX\r\n", "%05zx\r\n", "%zx;name=value\r\n", "%zx\n"};
    std::string wire;
    for (unsigned run = 1 + random() % 4; run > 0; --run)
    {
        const std::size_t size = SIZES[random() % std::size(SIZES)];
        const char* const format = formats[random() % std::size(formats)];
        for (std::size_t count = 1 + random() % 8; count > 0; --count)
        {
            wire += chunk(size, static_cast<char>(random()), format);
        }
    }
    return wire + "0\r\nName: value\r\n\r\nNEXT";
}

void expectTheSame(const std::string& wire, std::mt19937& random)
{
    const std::size_t blockSize = 1 + random() % 150000;
    PiecewiseConnection plain(wire);
    const Outcome expected = read(plain.stream(), blockSize);
    const std::size_t pieceSize = 1 + random() % 100000;
    const Outcome outcome = readFromSocket(
        wire, blockSize, [&] { return random() % pieceSize; }, random() % 4 == 0 ? 2048 : 65536);
    EXPECT_TRUE(outcome.data == expected.data) << outcome.data.size() << " bytes, not " << expected.data.size();
    EXPECT_EQ(outcome.state, expected.state);
    EXPECT_EQ(outcome.wrappedState, expected.wrappedState);
    EXPECT_TRUE(outcome.left == expected.left) << outcome.left.substr(0, 100);
    EXPECT_EQ(outcome.end, expected.end);
    EXPECT_EQ(outcome.error, expected.error);
}

TEST(EqualChunks, AreDecodedAsInAnyOtherBufferHoweverTheyAreCut)
{
    std::mt19937 random(3);
    for (int round = 0; round < 150; ++round)
    {
        SCOPED_TRACE(round);
        expectTheSame(randomBody(random), random);
    }
}

TEST(EqualChunks, WithAWrongByteOrCutShortEndAsInAnyOtherBuffer)
{
    std::mt19937 random(4);
    for (int round = 0; round < 100; ++round)
    {
        SCOPED_TRACE(round);
        std::string wire;
        for (int count = 0; count < 12; ++count)
        {
            wire += chunk(8192, 'x');
        }
        // Between two chunks, or anywhere.
        const std::size_t at =
            round % 2 == 0 ? (6 + 8192 + 2) * (random() % 12) + random() % 8 : random() % wire.size();
        if (round % 4 < 2)
        {
            wire[at] = "0\r\nx2\0"[random() % 6];
        }
        else
        {
            wire.resize(at);
        }
        expectTheSame(wire, random);
    }
}

std::string sixtyFour(const char* format, std::size_t size = 16384)
{
    std::string wire;
    for (int count = 0; count < 64; ++count)
    {
        wire += chunk(size, 'x', format);
    }
    return wire + "0\r\n\r\n";
}

std::size_t everything()
{
    return SIZE_MAX;
}

TEST(EqualChunks, SeveralComeWithOneRead)
{
    for (const char* const format : {"%zx\r\n", "%zX\r\n"})
    {
        const Outcome outcome = readFromSocket(sixtyFour(format, 0xa000), std::size_t{65} * 0xa000, everything);
        EXPECT_EQ(outcome.data.size(), 64U * 0xa000);
        EXPECT_EQ(outcome.state, "EF");
        EXPECT_GE(reads, 20);
        EXPECT_LE(reads, 50);
    }
}

TEST(EqualChunks, AreNotExpectedBehindOneThatIsNotOfWholePages)
{
    const Outcome outcome = readFromSocket(sixtyFour("%zx\r\n", 16385), 65536, everything);
    EXPECT_EQ(outcome.data.size(), 64U * 16385);
    EXPECT_EQ(outcome.state, "EF");
    EXPECT_EQ(reads, 0);
}

TEST(EqualChunks, ASocketOfADerivedClassReadsInItsOwnWay)
{
    class CountingSocket : public blocxx::Socket
    {
    public:
        int read(void* to, int room, ErrorAction action) override
        {
            const int count = Socket::read(to, room, action);
            total += count > 0 ? static_cast<std::size_t>(count) : 0;
            return count;
        }
        std::size_t total = 0;
    };
    const std::string wire = sixtyFour("%zx\r\n");
    zol_test::ScriptedServer server(zol_test::sending(wire));
    CountingSocket socket;
    socket.connect(blocxx::SocketAddress::getByName("127.0.0.1", server.port()));
    blocxx::IOIFCStreamBuffer buffer(&socket);
    std::istream wrapped(&buffer);
    EXPECT_EQ(read(wrapped, 65536).data.size(), 64U * 16384);
    EXPECT_EQ(socket.total, wire.size());
}

} // namespace
