#pragma once

#include "Certificates.hpp"
#include "Descriptor.hpp"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <set>
#include <vector>

namespace demo
{

/// Listens on the loopback addresses (127.0.0.1, and ::1 where there is one) and serves every connection on a thread of
/// its own.
class Server
{
public:
    Server() = default;
    /// Ends all connections and waits for their threads.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Starts to listen and returns the port: the given one, or one that the kernel chose when it is 0. With a context
    /// the port speaks TLS; the context must outlive the server. Throws std::system_error.
    std::uint16_t listen(std::uint16_t port, SSL_CTX* context);

    /// Accepts connections until one of the descriptors in `stop` becomes readable or its other end is closed.
    void runUntilReadable(const std::vector<int>& stop);

private:
    struct Listener
    {
        Descriptor socket;
        SSL_CTX* context;
    };

    void accept(const Listener& listener);
    void serve(Descriptor socket, SSL_CTX* context);

    std::vector<Listener> m_listeners;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    std::set<int> m_connections; ///< descriptors of the connections being served
};

} // namespace demo
