#include "Script.hpp"

#include "TlsTape.hpp"

#include <openssl/ssl.h>

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace hostile
{

namespace
{

using namespace std::chrono_literals;
using zol_test::ServerConnection;

constexpr std::chrono::milliseconds DRIP_INTERVAL = 20ms;
constexpr std::chrono::milliseconds LONGEST_STALL = 40s;
constexpr std::size_t SEND_SIZE = 65536;

Step stepOf(Step::EKind kind)
{
    Step step;
    step.kind = kind;
    return step;
}

Step stepOf(Step::EKind kind, Bytes bytes)
{
    Step step = stepOf(kind);
    step.bytes = std::move(bytes);
    return step;
}

Step stepOf(Step::EKind kind, std::uint64_t count)
{
    Step step = stepOf(kind);
    step.count = count;
    return step;
}

void replace(std::string& text, const std::string& name, const std::string& value)
{
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + value.size()))
    {
        text.replace(at, name.size(), value);
    }
}

/// Plays one script.
class Player
{
public:
    Player(const Surroundings& surroundings, ServerConnection& connection)
        : m_surroundings(surroundings), m_connection(connection)
    {
    }

    /// @return false if there is nobody to play for any more
    bool play(const Step& step);

private:
    void receiveRequest();
    bool sendAll(const Bytes& bytes);
    bool sendBytes(std::string_view bytes);
    bool drip(const std::string& bytes);
    bool dripBytes(const Bytes& bytes);
    void waitUntilReceived();
    bool say(int (*what)(SSL*), std::uint64_t times);

    const Surroundings& m_surroundings;
    ServerConnection& m_connection;
    std::unique_ptr<TlsTape> m_tape;
};

bool Player::play(const Step& step)
{
    switch (step.kind)
    {
    case Step::E_REQUEST:
        receiveRequest();
        return true;
    case Step::E_TAKE:
        return m_connection.discard(step.count) == step.count;
    case Step::E_SEND:
        return sendAll(step.bytes);
    case Step::E_DRIP:
        return dripBytes(step.bytes);
    case Step::E_WAIT:
        m_connection.pause(step.time);
        return true;
    case Step::E_STALL:
        m_connection.pause(LONGEST_STALL);
        return true;
    case Step::E_RESET:
        waitUntilReceived();
        m_connection.reset();
        return false;
    case Step::E_SHUT:
        m_connection.shutdownWrite();
        return true;
    case Step::E_CUT:
        waitUntilReceived();
        m_connection.cut();
        return false;
    case Step::E_HANDSHAKE:
        m_tape = std::make_unique<TlsTape>(m_surroundings, step.version);
        return m_tape->handshake(m_connection, step.place);
    case Step::E_DRIP_FLIGHT:
        return drip(m_tape->rest());
    case Step::E_HALF_RECORD:
    {
        const std::string record = m_tape->record(step.bytes.unit);
        return sendBytes(record.substr(0, record.size() / 2));
    }
    case Step::E_KEY_UPDATES:
        return say([](SSL* ssl) { return SSL_key_update(ssl, SSL_KEY_UPDATE_NOT_REQUESTED); }, step.count);
    case Step::E_TICKETS:
        return say(&SSL_new_session_ticket, step.count);
    case Step::E_RENEGOTIATE:
        return say(&SSL_renegotiate, 1);
    case Step::E_RECEIVE_KEPT:
        return m_connection.waitUntilPeerCloses(LONGEST_STALL);
    }
    return false;
}

void Player::receiveRequest()
{
    if (m_tape != nullptr)
    {
        m_tape->request(m_connection);
    }
    else
    {
        m_connection.receiveHead();
    }
}

bool Player::sendBytes(std::string_view bytes)
{
    return m_connection.send(bytes);
}

bool Player::sendAll(const Bytes& bytes)
{
    std::string unit = bytes.unit;
    replace(unit, "<port>", m_surroundings.port);
    replace(unit, "<other>", m_surroundings.otherPort);
    if (unit.empty())
    {
        return true;
    }
    if (m_tape != nullptr)
    {
        return sendBytes(m_tape->record(unit));
    }
    std::string block;
    for (std::uint64_t left = bytes.times; left > 0;)
    {
        const std::uint64_t fitting = std::max<std::uint64_t>(SEND_SIZE / unit.size(), 1);
        const std::uint64_t now = std::min(left, fitting);
        if (block.size() != now * unit.size())
        {
            block.clear();
            for (std::uint64_t i = 0; i < now; ++i)
            {
                block += unit;
            }
        }
        if (!sendBytes(block))
        {
            return false;
        }
        left -= now;
    }
    return true;
}

bool Player::drip(const std::string& bytes)
{
    for (const char byte : bytes)
    {
        if (!sendBytes({&byte, 1}))
        {
            return false;
        }
        m_connection.pause(DRIP_INTERVAL);
    }
    return true;
}

bool Player::dripBytes(const Bytes& bytes)
{
    for (std::uint64_t i = 0; i < bytes.times; ++i)
    {
        if (!drip(bytes.unit))
        {
            return false;
        }
    }
    return true;
}

/// A reset or a cut behind it then takes nothing away that the peer's system does not have.
void Player::waitUntilReceived()
{
    int unsent = 1;
    for (int i = 0; i < 1000 && ::ioctl(m_connection.fd(), SIOCOUTQ, &unsent) == 0 && unsent > 0; ++i)
    {
        m_connection.pause(5ms);
    }
}

/// Has OpenSSL send a message beside the data, some times.
bool Player::say(int (*what)(SSL*), std::uint64_t times)
{
    SSL* const ssl = m_connection.ssl();
    for (std::uint64_t i = 0; i < times; ++i)
    {
        m_connection.pause(0ms); // leaves the script if the server is being destroyed
        if (what(ssl) != 1)
        {
            throw std::runtime_error("the TLS library refuses to send this");
        }
        for (int result = 0; (result = SSL_do_handshake(ssl)) != 1;)
        {
            const int error = SSL_get_error(ssl, result);
            if (error != SSL_ERROR_WANT_WRITE && error != SSL_ERROR_WANT_READ)
            {
                return false;
            }
            if (error == SSL_ERROR_WANT_READ)
            {
                break;
            }
            m_connection.pause(1ms);
        }
    }
    return true;
}

} // namespace

Step request()
{
    return stepOf(Step::E_REQUEST);
}

Step take(std::uint64_t count)
{
    return stepOf(Step::E_TAKE, count);
}

Step send(Bytes bytes)
{
    return stepOf(Step::E_SEND, std::move(bytes));
}

Step send(std::string unit, std::uint64_t times)
{
    return send(Bytes(std::move(unit), times));
}

Step drip(Bytes bytes)
{
    return stepOf(Step::E_DRIP, std::move(bytes));
}

Step dripForever(const char* text)
{
    return drip(Bytes(text, 1000000));
}

Step wait(std::chrono::milliseconds time)
{
    Step step = stepOf(Step::E_WAIT);
    step.time = time;
    return step;
}

Step stall()
{
    return stepOf(Step::E_STALL);
}

Step reset()
{
    return stepOf(Step::E_RESET);
}

Step shut()
{
    return stepOf(Step::E_SHUT);
}

Step cut()
{
    return stepOf(Step::E_CUT);
}

Step handshake(int version, ETlsPlace place)
{
    Step step = stepOf(Step::E_HANDSHAKE);
    step.version = version;
    step.place = place;
    return step;
}

Step dripFlight()
{
    return stepOf(Step::E_DRIP_FLIGHT);
}

Step halfRecord(Bytes bytes)
{
    return stepOf(Step::E_HALF_RECORD, std::move(bytes));
}

Step keyUpdates(std::uint64_t count)
{
    return stepOf(Step::E_KEY_UPDATES, count);
}

Step tickets(std::uint64_t count)
{
    return stepOf(Step::E_TICKETS, count);
}

Step renegotiate()
{
    return stepOf(Step::E_RENEGOTIATE);
}

Step receiveKept()
{
    return stepOf(Step::E_RECEIVE_KEPT);
}

Script responds(Bytes bytes)
{
    return {request(), send(std::move(bytes))};
}

void play(const Script& script, const Surroundings& surroundings, ServerConnection& connection)
{
    Player player(surroundings, connection);
    for (const Step& step : script)
    {
        if (!player.play(step))
        {
            return;
        }
    }
}

} // namespace hostile
