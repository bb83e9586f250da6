#pragma once

#include "support/ScriptedServer.hpp"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hostile
{

/// A text some times in a row, so that a table can hold gigabytes.
struct Bytes
{
    Bytes(const char* text) : unit(text) {}            // NOLINT: a row reads better with plain texts
    Bytes(std::string text) : unit(std::move(text)) {} // NOLINT
    Bytes(std::string text, std::uint64_t count) : unit(std::move(text)), times(count) {}

    std::uint64_t size() const { return unit.size() * times; }

    std::string unit;
    std::uint64_t times = 1;
};

/// Where a server of TLS stops its handshake; in the order of TLS 1.2, where the client's messages stand between those
/// of the server. A server of TLS 1.3 sends everything up to its finished message at once.
enum ETlsPlace
{
    E_BEFORE_SERVER_HELLO,
    E_IN_SERVER_HELLO,
    E_BEHIND_SERVER_HELLO,
    E_IN_CERTIFICATE,
    E_BEHIND_CERTIFICATE,
    E_BEFORE_FINISHED,
    E_IN_FINISHED,
    E_BEHIND_FINISHED
};

/// One thing that a server does.
struct Step
{
    enum EKind
    {
        E_REQUEST,     ///< receives the head of a request
        E_TAKE,        ///< receives `count` bytes
        E_SEND,        ///< sends `bytes`; "<port>" and "<other>" in the unit stand for the servers' ports
        E_DRIP,        ///< sends `bytes` one at a time
        E_WAIT,        ///< does nothing for `time`
        E_STALL,       ///< does nothing until the peer closes
        E_RESET,       ///< ends with a reset, when the peer's system has what was sent
        E_SHUT,        ///< ends its sending side in order
        E_CUT,         ///< closes the socket, without a TLS message
        E_HANDSHAKE,   ///< takes part in a TLS handshake up to `place`; `version` is that of TLS
        E_DRIP_FLIGHT, ///< sends the rest of what E_HANDSHAKE stopped in, one byte at a time
        E_HALF_RECORD, ///< sends the first half of a TLS record that holds `bytes`, after E_HANDSHAKE
        E_KEY_UPDATES, ///< sends `count` key updates
        E_TICKETS,     ///< sends `count` session tickets more
        E_RENEGOTIATE, ///< asks for a new handshake of TLS 1.2
        E_RECEIVE_KEPT ///< waits until the peer closes, and forgets what it sends
    };

    EKind kind = E_STALL;
    Bytes bytes = "";
    std::uint64_t count = 0;
    std::chrono::milliseconds time{0};
    ETlsPlace place = E_BEFORE_SERVER_HELLO;
    int version = 0;
};

using Script = std::vector<Step>;

/// @name The steps of a script
/// @{
Step request();
Step take(std::uint64_t count);
Step send(Bytes bytes);
Step send(std::string unit, std::uint64_t times);
Step drip(Bytes bytes);
/// Drips the text again and again, for minutes.
Step dripForever(const char* text);
Step wait(std::chrono::milliseconds time);
Step stall();
Step reset();
Step shut();
Step cut();
Step handshake(int version, ETlsPlace place);
Step dripFlight();
Step halfRecord(Bytes bytes);
Step keyUpdates(std::uint64_t count);
Step tickets(std::uint64_t count);
Step renegotiate();
Step receiveKept();
/// @}

/// Receives a request and sends these bytes.
Script responds(Bytes bytes);

/// What the steps need beside the connection.
struct Surroundings
{
    std::string port;        ///< of the server
    std::string otherPort;   ///< of the server of another origin
    std::string certificate; ///< PEM chain, for E_HANDSHAKE
    std::string privateKey;
    void (*adjust)(SSL_CTX*) = nullptr; ///< the context of E_HANDSHAKE; null for none
};

/// Does what the script says. What it sends to a peer that is gone is lost, and the steps behind that are left out.
void play(const Script& script, const Surroundings& surroundings, zol_test::ServerConnection& connection);

} // namespace hostile
