// usage: upload_floor PORT SIZE COUNT [FILE]
// The lower bound of any client, COUNT times: connect, send SIZE bytes that are held in memory, or all of a file by reads of 64 KiB,
// receive until the end.
#include "PeakMemory.hpp"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

constexpr size_t BLOCK = 65536;

bool sendAll(int connection, const char* data, size_t size)
{
    while (size > 0)
    {
        const ssize_t sent = ::send(connection, data, std::min(size, BLOCK), MSG_NOSIGNAL);
        if (sent <= 0)
        {
            return false;
        }
        data += sent;
        size -= static_cast<size_t>(sent);
    }
    return true;
}

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
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(std::atoi(argv[1])));
    const std::string head =
        "POST /small HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\nContent-Length: " + std::to_string(size) +
        "\r\n\r\n";
    std::vector<char> buffer(BLOCK);
    size_t received = 0;
    for (long upload = std::atol(argv[3]); upload > 0; --upload)
    {
        const int connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            !sendAll(connection, head.data(), head.size()) ||
            !(argc == 5 ? sendFile(connection, argv[4]) : sendAll(connection, bytes.data(), bytes.size())))
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
