// usage: fetch_floor PORT TARGET COUNT
// The lower bound of any client: connect, send a request, receive until the end, COUNT times. What every client is
// compared with.
#include "PeakMemory.hpp"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: %s PORT TARGET COUNT\n", argv[0]);
        return 2;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(std::atoi(argv[1])));
    const std::string request =
        std::string("GET ") + argv[2] + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
    std::vector<char> buffer(65536);
    size_t total = 0;
    for (long fetch = std::atol(argv[3]); fetch > 0; --fetch)
    {
        const int connection = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::send(connection, request.data(), request.size(), MSG_NOSIGNAL) < 0)
        {
            std::perror("fetch_floor");
            return 1;
        }
        for (ssize_t count = 0; (count = ::recv(connection, buffer.data(), buffer.size(), 0)) > 0;)
        {
            total += static_cast<size_t>(count);
        }
        ::close(connection);
    }
    std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
}
