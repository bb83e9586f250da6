#pragma once

#include "Certificates.hpp"
#include "Descriptor.hpp"

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace demo
{

/// The client is gone or the connection broke; no response can be sent.
class ConnectionLost : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One accepted connection, plain or TLS.
class Peer
{
public:
    /// With a context, performs the TLS handshake. Throws ConnectionLost. `socket` must outlive the peer.
    Peer(const Descriptor& socket, SSL_CTX* context);

    /// Waits for the next bytes and returns their number; 0 once the client has closed its side. Throws ConnectionLost.
    std::size_t read(char* buffer, std::size_t size);

    /// Sends everything. Throws ConnectionLost.
    void write(std::string_view bytes);

    /// Waits. Throws ConnectionLost when the connection is closed in the meantime.
    void pause(std::chrono::milliseconds time);

    /// Closes the connection in order and discards what the client still sends: closing it with unread bytes would
    /// reset it, and the client could lose the end of the response.
    void finish();

    /// The subject of the client's certificate; empty when it sent none.
    std::string clientSubject() const;

private:
    int m_socket;
    SessionPtr m_session;
};

} // namespace demo
