#pragma once

#include "support/Descriptor.hpp"

#include <openssl/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace zol_test
{

class ScriptedServer;

/// What a script of a `ScriptedServer` does with one connection. Every operation ends within the server's limit; one
/// that does not get what it waits for throws `std::runtime_error`, which ends the script and is recorded.
class ServerConnection
{
public:
    ~ServerConnection();
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;

    /// Everything up to and including the first empty line.
    std::string receiveHead();

    /// Exactly `count` bytes.
    std::string receive(std::size_t count);

    /// Everything until the peer ends its sending side.
    std::string receiveUntilEnd();

    /// Receives and forgets up to `count` bytes; returns their number, smaller when the peer ends first. Not recorded
    /// among the requests.
    std::uint64_t discard(std::uint64_t count);

    /// Sends all of `data`; false when the peer is gone.
    bool send(std::string_view data);

    /// Sends one byte at a time, `delay` apart; false when the peer is gone.
    bool sendSlowly(std::string_view data, std::chrono::microseconds delay);

    /// Ends the connection with a reset: what was sent and not yet read is lost to the peer.
    void reset();

    /// Ends the sending side in order (under TLS with its close-notify). Receiving stays possible.
    void shutdownWrite();

    /// Closes in order, at once.
    void close();

    /// Closes the socket without any TLS message.
    void cut();

    /// Reads and forgets what the peer sends until it closes or resets; false when it has not within `limit`.
    bool waitUntilPeerCloses(std::chrono::milliseconds limit = std::chrono::seconds(10));

    /// Does nothing for that long, or until the server is destroyed.
    void pause(std::chrono::milliseconds time);

    /// The index of this connection in order of arrival, from 0.
    std::size_t index() const { return m_index; }

    /// The TLS session, null on a plain connection.
    SSL* ssl() const { return m_ssl; }

    int fd() const { return m_socket.get(); }

private:
    friend class ScriptedServer;
    ServerConnection(ScriptedServer& server, Descriptor socket, std::size_t index);

    void handshake(SSL_CTX* context);
    void linger();
    void drop();
    bool wait(short events, std::chrono::steady_clock::time_point deadline);
    std::optional<std::size_t> readSome(char* data, std::size_t size, std::chrono::steady_clock::time_point deadline);
    bool fill(std::chrono::steady_clock::time_point deadline, const char* wanted);
    std::string take(std::size_t count);
    std::chrono::steady_clock::time_point deadline() const;

    ScriptedServer& m_server;
    Descriptor m_socket;
    std::size_t m_index;
    SSL* m_ssl = nullptr;
    std::string m_received; // and not taken yet
};

/// A server on a loopback port that the kernel chose; each connection is served by a script in a thread of its own.
/// When a script returns, its connection is closed in order. The destructor interrupts the scripts that still run, and
/// makes the test fail for errors that the test has neither fetched with `errors()` nor declared as ignored.
class ScriptedServer
{
public:
    using Script = std::function<void(ServerConnection&)>;

    struct Options
    {
        bool ipv6 = false;                    ///< ::1 instead of 127.0.0.1
        std::string certificate;              ///< PEM, the server's first, then its chain; not empty means TLS
        std::string privateKey;               ///< PEM
        std::function<void(SSL_CTX*)> adjust; ///< called once on the TLS context, before its certificate is set
        std::chrono::milliseconds limit = std::chrono::seconds(10); ///< of each operation of a script
        int sendBufferSize = 0;    ///< SO_SNDBUF of each connection; 0 leaves the system's
        int receiveBufferSize = 0; ///< SO_RCVBUF of each connection; 0 leaves the system's
    };

    explicit ScriptedServer(Script script);
    ScriptedServer(Options options, Script script);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::uint16_t port() const { return m_listener.port; }

    /// "127.0.0.1:<port>" or "[::1]:<port>".
    std::string address() const;

    /// What each connection sent, as far as its script received it, in order of arrival.
    std::vector<std::string> requests() const;

    /// Exceptions that left scripts, and TLS handshakes that failed. A test that calls this checks them itself.
    std::vector<std::string> errors();

    /// Declares that errors of the scripts do not fail the test.
    void ignoreErrors() { errors(); }

    std::size_t connections() const;

    /// Waits until `count` connections have arrived; false when they have not within `limit`.
    bool waitForConnections(std::size_t count, std::chrono::milliseconds limit = std::chrono::seconds(10)) const;

    /// Waits until every script that was started has returned; false when they have not within `limit`.
    bool waitUntilIdle(std::chrono::milliseconds limit = std::chrono::seconds(10)) const;

private:
    friend class ServerConnection;

    /// Leaves a script whose server is being destroyed.
    struct Stopped
    {
    };

    struct ContextDeleter
    {
        void operator()(SSL_CTX* context) const;
    };

    void makeContext();
    void accept();
    void joinFinished();
    void serve(Descriptor socket, std::size_t index);
    void recordRequest(std::size_t index, std::string_view data);
    void recordError(std::size_t index, const std::string& text);

    Options m_options;
    Script m_script;
    LoopbackSocket m_listener;
    Pipe m_stop;
    std::unique_ptr<SSL_CTX, ContextDeleter> m_context;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<std::string> m_requests;
    std::vector<std::string> m_errors;
    bool m_errorsAskedFor = false;
    std::size_t m_running = 0;
    std::vector<std::thread> m_connections;
    std::vector<std::thread::id> m_finished; // of them, and not joined yet
    std::thread m_acceptor;
};

/// A script that reads the head of a request and then sends these bytes.
ScriptedServer::Script respondingWith(std::string bytes);

/// A script that sends these bytes without reading anything.
ScriptedServer::Script sending(std::string bytes);

/// A script that resets its connection when one byte has come. (A reset before the client is connected would be a
/// failed connect.)
void resetAfterOneByte(ServerConnection& connection);

} // namespace zol_test
