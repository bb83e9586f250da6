// usage: upload_floor PORT SIZE COUNT [FILE]
// The least that a client can do, COUNT times: connect, send SIZE bytes that are held in memory, or all of a file by reads
// of 64 KiB, receive until the end.
#include "Loopback.hpp"
#include "PeakMemory.hpp"

#include <fcntl.h>

#include <vector>

namespace
{

constexpr size_t BLOCK = 65536;

bool sendFile(int connection, const char* name)
{
    const int file = ::open(name, O_RDONLY | O_CLOEXEC);
    std::vector<char> block(BLOCK);
    ssize_t count = 0;
    while ((count = ::read(file, block.data(), block.size())) > 0)
    {
        if (!sendAll(connection, block.data(), static_cast<size_t>(count)))
        {
            break;
        }
    }
    ::close(file);
    return count == 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4 && argc != 5)
    {
        std::fprintf(stderr, "usage: %s PORT SIZE COUNT [FILE]\n", argv[0]);
        return 2;
    }
    const auto size = static_cast<size_t>(std::atoll(argv[2]));
    const std::vector<char> bytes(argc == 5 ? 0 : size, 'x');
    const std::string head =
        "POST /small HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\nContent-Length: " + std::to_string(size) +
        "\r\n\r\n";
    const sockaddr_in address = loopbackAddress(argv[1]);
    std::vector<char> buffer(BLOCK);
    size_t received = 0;
    for (long upload = std::atol(argv[3]); upload > 0; --upload)
    {
        const int connection = connectTo(address);
        if (!sendAll(connection, head.data(), head.size()) ||
            !(argc == 5 ? sendFile(connection, argv[4]) : sendAll(connection, bytes.data(), bytes.size(), BLOCK)))
        {
            std::perror("upload_floor");
            return 1;
        }
        for (ssize_t count = 0; (count = ::recv(connection, buffer.data(), buffer.size(), 0)) > 0;)
        {
            received += static_cast<size_t>(count);
        }
        ::close(connection);
    }
    std::printf("%zu bytes received, peak %ld KiB\n", received, peakMemory());
}
