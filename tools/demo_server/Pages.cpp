#include "Pages.hpp"

#include <algorithm>
#include <limits>

namespace demo
{

namespace
{

constexpr std::string_view OK = "200 OK";
constexpr std::string_view TEXT = "text/plain; charset=utf-8";
constexpr std::string_view BYTES = "application/octet-stream";

constexpr std::uint64_t ANY_SIZE = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t LARGEST_ECHO = 256ULL * 1024 * 1024;
constexpr std::size_t BLOCK_SIZE = std::size_t{256} * 1024;

/// The one buffer that every large body is sent from: lines of 64 bytes.
const std::string& block()
{
    static const std::string text = []
    {
        const std::string line = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.\n";
        std::string lines;
        lines.reserve(BLOCK_SIZE);
        while (lines.size() < BLOCK_SIZE)
        {
            lines += line;
        }
        return lines;
    }();
    return text;
}

void sendBytes(Exchange& exchange, std::uint64_t count)
{
    while (count > 0)
    {
        const std::size_t step = static_cast<std::size_t>(std::min<std::uint64_t>(count, block().size()));
        exchange.sendBody(std::string_view(block()).substr(0, step));
        count -= step;
    }
}

bool beginBytes(Exchange& exchange, std::uint64_t size)
{
    return exchange.begin(OK, "Content-Type: " + std::string(BYTES) + "\r\nContent-Length: " + std::to_string(size) +
                                  "\r\n");
}

void big(Exchange& exchange)
{
    const std::uint64_t size = exchange.number("size", BLOCK_SIZE, ANY_SIZE);
    if (beginBytes(exchange, size))
    {
        sendBytes(exchange, size);
    }
}

void cut(Exchange& exchange)
{
    const std::uint64_t size = exchange.number("size", BLOCK_SIZE, ANY_SIZE);
    if (beginBytes(exchange, size))
    {
        sendBytes(exchange, size / 2);
    }
}

void chunked(Exchange& exchange)
{
    const std::uint64_t pieces = exchange.number("pieces", 5, 1000);
    const std::chrono::milliseconds pause(exchange.number("pause", 300, 10000));
    if (!exchange.begin(OK, "Content-Type: " + std::string(TEXT) + "\r\nTransfer-Encoding: chunked\r\n"))
    {
        return;
    }
    for (std::uint64_t piece = 1; piece <= pieces; ++piece)
    {
        if (piece > 1)
        {
            exchange.peer().pause(pause);
        }
        exchange.sendChunk("piece " + std::to_string(piece) + " of " + std::to_string(pieces) + "\n");
    }
    exchange.sendChunk("");
}

void drip(Exchange& exchange)
{
    const std::chrono::milliseconds pause(exchange.number("pause", 100, 10000));
    if (exchange.begin(OK, "Content-Type: " + std::string(TEXT) + "\r\nContent-Length: 1000000\r\n"))
    {
        for (int count = 0; count < 1000000; ++count)
        {
            exchange.peer().pause(pause);
            exchange.sendBody(".");
        }
    }
}

void count(Exchange& exchange)
{
    exchange.keepConnection();
    exchange.respond(OK, TEXT, "request " + std::to_string(exchange.number()) + " of this connection\n");
}

void multipart(Exchange& exchange)
{
    static constexpr std::string_view BODY = "--parts-of-the-demo\r\n"
                                             "Content-Type: text/plain\r\n"
                                             "\r\n"
                                             "the first part\n\r\n"
                                             "--parts-of-the-demo\r\n"
                                             "Content-Type: application/octet-stream\r\n"
                                             "\r\n"
                                             "the second part\n\r\n"
                                             "--parts-of-the-demo\r\n"
                                             "Content-Type: text/plain\r\n"
                                             "\r\n"
                                             "the third part\n\r\n"
                                             "--parts-of-the-demo--\r\n";
    const std::uint64_t epilogue = exchange.number("epilogue", 0, ANY_SIZE);
    const std::string type = "Content-Type: multipart/mixed; boundary=parts-of-the-demo\r\n";
    if (exchange.number("chunked", 0, 1) == 0)
    {
        const std::string length = "Content-Length: " + std::to_string(BODY.size() + epilogue) + "\r\n";
        if (exchange.begin(OK, type + length))
        {
            exchange.sendBody(BODY);
            sendBytes(exchange, epilogue);
        }
    }
    else if (exchange.begin(OK, type + "Transfer-Encoding: chunked\r\n"))
    {
        constexpr std::size_t CHUNK_SIZE = 50;
        for (std::size_t at = 0; at < BODY.size(); at += CHUNK_SIZE)
        {
            exchange.sendChunk(BODY.substr(at, CHUNK_SIZE));
        }
        exchange.sendChunk("");
    }
}

void echo(Exchange& exchange)
{
    if (exchange.request().contentLength.value_or(0) > LARGEST_ECHO)
    {
        exchange.respond("413 Content Too Large", TEXT, "This is more than the demo server holds.\n");
        return;
    }
    exchange.respond(OK, BYTES, exchange.readBody());
}

void client(Exchange& exchange)
{
    const std::string subject = exchange.peer().clientSubject();
    exchange.respond(OK, TEXT, (subject.empty() ? "nobody" : subject) + "\n");
}

} // namespace

void sendPage(Exchange& exchange)
{
    const std::string& path = exchange.request().path;
    if (path == "/hello")
    {
        exchange.respond(OK, TEXT, "Hello from the demo server.\n");
    }
    else if (path == "/request")
    {
        exchange.respond(OK, TEXT, exchange.request().head);
    }
    else if (path == "/nothing")
    {
        exchange.begin("204 No Content", "");
    }
    else if (path == "/big")
    {
        big(exchange);
    }
    else if (path == "/cut")
    {
        cut(exchange);
    }
    else if (path == "/chunked")
    {
        chunked(exchange);
    }
    else if (path == "/drip")
    {
        drip(exchange);
    }
    else if (path == "/count")
    {
        count(exchange);
    }
    else if (path == "/odd-type")
    {
        exchange.respond(OK, "text/plain;", "The type of this page ends with a semicolon.\n");
    }
    else if (path == "/multipart")
    {
        multipart(exchange);
    }
    else if (path == "/echo")
    {
        echo(exchange);
    }
    else if (path == "/client")
    {
        client(exchange);
    }
    else
    {
        exchange.respond("404 Not Found", TEXT, "The demo server has no such page.\n");
    }
}

} // namespace demo
