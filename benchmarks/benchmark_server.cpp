// usage: benchmark_server [CERTIFICATE KEY]
// A loopback server that sends as fast as the kernel takes it, one connection after another, until its standard input
// ends; over TLS if it has a certificate and its key (PEM files). It prints the port it listens on. What is asked for says
// what is sent; the body of a request is received and dropped first:
//   /small              128 bytes under five header lines
//   /kept               the same, and the connection stays open for the next request
//   /headers/LINES      128 bytes under that many header lines
//   /identity/SIZE      SIZE bytes
//   /chunked/CHUNK/SIZE SIZE bytes in chunks of CHUNK bytes
//   /multipart/PART/SIZE a multipart body of at least SIZE bytes in parts of PART bytes
#include "Loopback.hpp"
#include "ServerConnection.hpp"

#include <poll.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

/// Sends `unit` again and again until `size` bytes are out.
bool sendRepeated(ServerConnection& connection, const std::string& unit, size_t size)
{
    while (size > 0)
    {
        const size_t count = std::min(size, unit.size());
        if (!connection.send(unit.data(), count))
        {
            return false;
        }
        size -= count;
    }
    return true;
}

/// Copies of `unit` until about a megabyte is reached, so that one system call moves much.
std::string repeated(const std::string& unit)
{
    std::string result;
    do
    {
        result += unit;
    } while (result.size() + unit.size() <= (1U << 20));
    return result;
}

std::vector<size_t> numbersOf(const std::string& target)
{
    std::vector<size_t> numbers;
    for (size_t at = target.find('/', 1); at != std::string::npos; at = target.find('/', at + 1))
    {
        numbers.push_back(std::strtoull(target.c_str() + at + 1, nullptr, 10));
    }
    return numbers;
}

void sendSmall(ServerConnection& connection, size_t headerLines, const std::string& persistence = "close")
{
    std::string head = "HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=UTF-8\r\nContent-Length: 128\r\n"
                       "Connection: " +
                       persistence + "\r\nServer: benchmark\r\nDate: Sat, 01 Jan 2022 00:00:00 GMT\r\n";
    for (size_t line = 5; line < headerLines; ++line)
    {
        head += "X-Line-" + std::to_string(line) + ": the value of the line\r\n";
    }
    connection.send(head + "\r\n" + std::string(128, 'x'));
}

void sendIdentity(ServerConnection& connection, size_t size)
{
    connection.send("HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: " +
                    std::to_string(size) + "\r\nConnection: close\r\n\r\n");
    sendRepeated(connection, std::string(1U << 20, 'x'), size);
}

void sendChunked(ServerConnection& connection, size_t chunkSize, size_t size)
{
    connection.send("HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n"
                    "Connection: close\r\n\r\n");
    char sizeLine[24];
    std::snprintf(sizeLine, sizeof sizeLine, "%zx\r\n", chunkSize);
    const std::string chunk = sizeLine + std::string(chunkSize, 'x') + "\r\n";
    sendRepeated(connection, repeated(chunk), size / chunkSize * chunk.size());
    connection.send("0\r\n\r\n");
}

void sendMultipart(ServerConnection& connection, size_t partSize, size_t size)
{
    const std::string boundary = "----=_boundary_of_thirty_bytes"; // 30 bytes
    connection.send("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=\"" + boundary +
                    "\"\r\nConnection: close\r\n\r\n");
    std::string body;
    const std::string line = "The quick brown fox jumps over the lazy dog, and the dog does not mind at all.\r\n";
    while (body.size() < partSize)
    {
        body += line;
    }
    body.resize(partSize);
    const std::string part = "--" + boundary + "\r\ncontent-type: application/octet-stream\r\n\r\n" + body + "\r\n";
    sendRepeated(connection, repeated(part), std::max<size_t>(1, size / partSize) * part.size());
    connection.send("--" + boundary + "--\r\n");
}

void respond(ServerConnection& connection, const std::string& target)
{
    const std::vector<size_t> numbers = numbersOf(target);
    if (target == "/small")
    {
        sendSmall(connection, 5);
    }
    else if (target == "/kept")
    {
        sendSmall(connection, 5, "keep-alive");
    }
    else if (target.rfind("/headers/", 0) == 0)
    {
        sendSmall(connection, numbers.at(0));
    }
    else if (target.rfind("/identity/", 0) == 0)
    {
        sendIdentity(connection, numbers.at(0));
    }
    else if (target.rfind("/chunked/", 0) == 0)
    {
        sendChunked(connection, numbers.at(0), numbers.at(1));
    }
    else if (target.rfind("/multipart/", 0) == 0)
    {
        sendMultipart(connection, numbers.at(0), numbers.at(1));
    }
    else
    {
        connection.send("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
    }
}

/// Drops what is left of the body that a head announces.
void receiveBody(ServerConnection& connection, const std::string& head, size_t headSize, std::vector<char>& buffer)
{
    const std::string name = "Content-Length: ";
    const size_t field = head.find(name);
    if (field == std::string::npos)
    {
        return;
    }
    size_t left = std::strtoull(head.c_str() + field + name.size(), nullptr, 10) - (head.size() - headSize);
    while (left > 0)
    {
        const ssize_t count = connection.receive(buffer.data(), std::min(left, buffer.size()));
        if (count <= 0)
        {
            return;
        }
        left -= static_cast<size_t>(count);
    }
}

/// @return whether the connection stays open for another request
bool serve(ServerConnection& connection, std::vector<char>& buffer)
{
    std::string head;
    size_t end = std::string::npos;
    while ((end = head.find("\r\n\r\n")) == std::string::npos)
    {
        const ssize_t count = connection.receive(buffer.data(), 4096);
        if (count <= 0)
        {
            return false;
        }
        head.append(buffer.data(), static_cast<size_t>(count));
    }
    receiveBody(connection, head, end + 4, buffer);
    const size_t start = head.find(' ') + 1;
    const std::string target = head.substr(start, head.find(' ', start) - start);
    respond(connection, target);
    return target == "/kept";
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 1 && argc != 3)
    {
        std::fprintf(stderr, "usage: %s [CERTIFICATE KEY]\n", argv[0]);
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN); // OpenSSL writes without MSG_NOSIGNAL
    const ServerContext context = argc == 3 ? serverContext(argv[1], argv[2]) : ServerContext();
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopbackAddress("0");
    socklen_t length = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(listener, 128) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
    {
        std::perror("benchmark server");
        return 1;
    }
    std::printf("%d\n", ntohs(address.sin_port));
    std::fflush(stdout);

    std::vector<char> buffer(1U << 20);
    for (;;)
    {
        pollfd waited[] = {{listener, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
        if (::poll(waited, 2, -1) < 0 || waited[1].revents != 0)
        {
            return 0;
        }
        ServerConnection connection(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC), context.get());
        while (serve(connection, buffer))
        {
        }
    }
}
