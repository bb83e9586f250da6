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

/// The client is gone, or the connection to it broke; there is nobody left to answer.
class ConnectionLost : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One accepted connection, plain or TLS.
class Peer
{
public:
    /// With a context the TLS handshake is made here. Throws ConnectionLost.
    Peer(const Descriptor& socket, SSL_CTX* context);

    /// The next bytes, at least one; 0 once the client has closed its side. Throws ConnectionLost.
    std::size_t read(char* buffer, std::size_t size);

    /// Sends everything. Throws ConnectionLost.
    void write(std::string_view bytes);

    /// Lets time pass. Throws ConnectionLost when the connection is closed meanwhile.
    void pause(std::chrono::milliseconds time);

    /// Ends the answer in order, and takes what the client still sends: closing with unread bytes would reset the
    /// connection and could destroy the answer on its way.
    void finish();

    /// The subject of the certificate that the client showed; empty when it showed none.
    std::string clientSubject() const;

private:
    int m_socket;
    SessionPtr m_session;
};

} // namespace demo
