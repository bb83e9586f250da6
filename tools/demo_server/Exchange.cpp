#include "Exchange.hpp"

#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace demo
{

namespace
{

constexpr std::size_t MAXIMAL_HEAD = std::size_t{64} * 1024;
constexpr std::string_view LINE_END = "\r\n";
constexpr std::string_view HEAD_END = "\r\n\r\n";

std::optional<std::uint64_t> toNumber(std::string_view text)
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
    {
        return std::nullopt;
    }
    return value;
}

/// Removes and returns the part up to the separator, which is removed too.
std::string_view cutAt(std::string_view& text, std::string_view separator)
{
    const std::size_t position = std::min(text.find(separator), text.size());
    const std::string_view front = text.substr(0, position);
    text.remove_prefix(std::min(position + separator.size(), text.size()));
    return front;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && ::strncasecmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace

Exchange::Exchange(Peer& peer, std::uint64_t number) : m_peer(peer), m_number(number)
{
    readHead();
    std::string_view lines = m_request.head;
    parseRequestLine(cutAt(lines, LINE_END));
    parseHeaders(lines);
}

void Exchange::readHead()
{
    std::array<char, 4096> block;
    std::size_t end = std::string::npos;
    while ((end = m_ahead.find(HEAD_END)) == std::string::npos)
    {
        const std::size_t count = m_peer.read(block.data(), block.size());
        if (count == 0 || m_ahead.size() > MAXIMAL_HEAD)
        {
            throw ConnectionLost("no complete request head");
        }
        m_ahead.append(block.data(), count);
    }
    m_request.head = m_ahead.substr(0, end + LINE_END.size());
    m_ahead.erase(0, end + HEAD_END.size());
}

void Exchange::parseRequestLine(std::string_view line)
{
    m_request.method = cutAt(line, " ");
    std::string_view query = cutAt(line, " ");
    m_request.path = cutAt(query, "?");
    while (!query.empty())
    {
        std::string_view value = cutAt(query, "&");
        const std::string_view name = cutAt(value, "=");
        m_request.query[std::string(name)] = value;
    }
}

void Exchange::parseHeaders(std::string_view lines)
{
    while (!lines.empty())
    {
        std::string_view value = cutAt(lines, LINE_END);
        const std::string_view name = cutAt(value, ":");
        if (equalsIgnoringCase(name, "content-length"))
        {
            m_request.contentLength = toNumber(trimmed(value));
        }
        else if (equalsIgnoringCase(name, "connection"))
        {
            m_request.keepAlive = equalsIgnoringCase(trimmed(value), "keep-alive");
        }
    }
}

std::uint64_t Exchange::number(const std::string& name, std::uint64_t fallback, std::uint64_t limit) const
{
    const auto found = m_request.query.find(name);
    const auto value = found == m_request.query.end() ? std::nullopt : toNumber(found->second);
    return std::min(value.value_or(fallback), limit);
}

std::string Exchange::readBody()
{
    const std::size_t wanted = m_request.contentLength.value_or(0);
    std::string body = std::move(m_ahead);
    m_ahead.clear();
    std::array<char, 65536> block;
    while (body.size() < wanted)
    {
        const std::size_t count = m_peer.read(block.data(), std::min(block.size(), wanted - body.size()));
        if (count == 0)
        {
            throw ConnectionLost("the body of the request is incomplete");
        }
        body.append(block.data(), count);
    }
    return body;
}

void Exchange::respond(std::string_view status, std::string_view type, std::string_view text)
{
    const std::string headers =
        "Content-Type: " + std::string(type) + "\r\nContent-Length: " + std::to_string(text.size()) + "\r\n";
    if (begin(status, headers))
    {
        sendBody(text);
    }
}

bool Exchange::begin(std::string_view status, std::string_view headers)
{
    std::string head = "HTTP/1.1 ";
    head.append(status).append("\r\nServer: demo_server\r\nConnection: ");
    head.append(m_keepsConnection ? "keep-alive" : "close").append("\r\n").append(headers).append("\r\n");
    m_peer.write(head);
    return m_request.method != "HEAD";
}

void Exchange::sendChunk(std::string_view bytes)
{
    char size[16];
    const auto result = std::to_chars(size, size + sizeof(size), bytes.size(), 16);
    std::string chunk(size, result.ptr);
    chunk.append("\r\n").append(bytes).append("\r\n");
    m_peer.write(chunk);
}

} // namespace demo
