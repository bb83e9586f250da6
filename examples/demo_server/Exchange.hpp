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
};

/// One request and its answer.
class Exchange
{
public:
    /// Reads the head of the request. Throws ConnectionLost, also for a head that makes no sense.
    explicit Exchange(Peer& peer);

    const Request& request() const { return m_request; }
    Peer& peer() { return m_peer; }

    /// A number from the query of the target, at most `limit`; `fallback` when it is not there or no number.
    std::uint64_t number(const std::string& name, std::uint64_t fallback, std::uint64_t limit) const;

    /// The body of the request, in the announced length.
    std::string readBody();

    /// Answers with a head, and with the text as body unless the request was HEAD.
    void answer(std::string_view status, std::string_view type, std::string_view text);

    /// Begins an answer whose body follows by sendBody; false when the request was HEAD, which wants none.
    bool begin(std::string_view status, std::string_view headers);
    void sendBody(std::string_view bytes) { m_peer.write(bytes); }
    void sendChunk(std::string_view bytes);

private:
    void readHead();
    void parseRequestLine(std::string_view line);
    void parseHeaders(std::string_view lines);

    Peer& m_peer;
    Request m_request;
    std::string m_ahead; ///< what arrived behind the head
};

} // namespace demo
