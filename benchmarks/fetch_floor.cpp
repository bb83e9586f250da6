// usage: fetch_floor PORT TARGET COUNT [kept] [lines=N]
// The least that a client can do, COUNT times: connect, send a request, receive until the end. On a connection that is
// kept, every response is taken to be as long as the first one, which comes in one piece.
#include "FetchArguments.hpp"
#include "Loopback.hpp"
#include "PeakMemory.hpp"

namespace
{

std::string requestFor(const FetchArguments& arguments)
{
    std::string request = "GET " + arguments.target +
                          " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: " + (arguments.kept ? "keep-alive" : "close") +
                          "\r\n";
    if (arguments.lines)
    {
        for (const auto& [name, value] : *arguments.lines)
        {
            request.append(name).append(": ").append(value).append("\r\n");
        }
    }
    return request + "\r\n";
}

void sendRequest(int connection, const std::string& request)
{
    if (!sendAll(connection, request.data(), request.size()))
    {
        std::perror("fetch_floor");
        std::exit(1);
    }
}

/// @return the bytes that were received before the connection ended
size_t fetch(const sockaddr_in& address, const std::string& request, std::vector<char>& buffer)
{
    const int connection = connectTo(address);
    sendRequest(connection, request);
    size_t total = 0;
    for (ssize_t count = 0; (count = ::recv(connection, buffer.data(), buffer.size(), 0)) > 0;)
    {
        total += static_cast<size_t>(count);
    }
    ::close(connection);
    return total;
}

/// @param size  that of the response; 0 if it is not known yet
size_t fetchKept(int connection, const std::string& request, std::vector<char>& buffer, size_t size)
{
    sendRequest(connection, request);
    size_t total = 0;
    do
    {
        const ssize_t count = ::recv(connection, buffer.data(), buffer.size(), 0);
        if (count <= 0)
        {
            std::perror("fetch_floor");
            std::exit(1);
        }
        total += static_cast<size_t>(count);
    } while (total < size);
    return total;
}

} // namespace

int main(int argc, char** argv)
{
    const FetchArguments arguments(argc, argv, "[kept] [lines=N]");
    const std::string request = requestFor(arguments);
    const sockaddr_in address = loopbackAddress(arguments.port);
    const int kept = arguments.kept ? connectTo(address) : -1;
    std::vector<char> buffer(65536);
    size_t size = 0;
    size_t total = 0;
    for (long count = arguments.count; count > 0; --count)
    {
        size = arguments.kept    ? fetchKept(kept, request, buffer, size)
               : arguments.lines ? fetch(address, requestFor(arguments), buffer)
                                 : fetch(address, request, buffer);
        total += size;
    }
    std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
}
