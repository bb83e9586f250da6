#pragma once

#include "Peer.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace demo
{

/// A request whose head has been read.
struct Request
{
    std::string head; ///< as it arrived, the empty line not included
    std::string method;
    std::string path;
    std::map<std::string, std::string> query;
    std::optional<std::uint64_t> contentLength;
    bool keepAlive = false; ///< whether the client asks for it
};

/// One request and its response.
class Exchange
{
public:
    /// Reads the head of the request. Throws ConnectionLost, also for a malformed head.
    /// @param number of this request on its connection, from 1 on
    Exchange(Peer& peer, std::uint64_t number);

    const Request& request() const { return m_request; }
    std::uint64_t number() const { return m_number; }
    Peer& peer() { return m_peer; }

    /// A number from the query of the target, at most `limit`; `fallback` when it is absent or not a number.
    std::uint64_t number(const std::string& name, std::uint64_t fallback, std::uint64_t limit) const;

    /// The body of the request: as many bytes as its Content-Length says. Throws ConnectionLost.
    std::string readBody();

    /// Sends a whole response; to HEAD only its head.
    void respond(std::string_view status, std::string_view type, std::string_view text);

    /// Keeps the connection behind the response if the client asks for it.
    void keepConnection() { m_keepsConnection = m_request.keepAlive && m_ahead.empty() && !m_request.contentLength; }
    bool keepsConnection() const { return m_keepsConnection; }

    /// Sends the head of a response whose body the caller sends. @return false for HEAD, which has no body
    bool begin(std::string_view status, std::string_view headers);
    void sendBody(std::string_view bytes) { m_peer.write(bytes); }
    void sendChunk(std::string_view bytes);

private:
    void readHead();
    void parseRequestLine(std::string_view line);
    void parseHeaders(std::string_view lines);

    Peer& m_peer;
    const std::uint64_t m_number;
    bool m_keepsConnection = false;
    Request m_request;
    std::string m_ahead; ///< bytes of the body that arrived with the head
};

} // namespace demo
