#pragma once

#include "core/FileDescriptor.hpp"
#include "io/Deadline.hpp"

#include "blocxx/SocketAddress.hpp"
#include "blocxx/String.hpp"

#include <poll.h>

#include <cstddef>
#include <vector>

namespace blocxx
{

class OperationBounds;

/// Connects to whichever of a peer's addresses accepts first, after RFC 8305, section 5: the attempts run side by side,
/// on the calling thread.
class ConnectAttempts
{
public:
    enum EOutcome
    {
        E_CONNECTED,
        E_FAILED,       ///< every address has failed
        E_TIMED_OUT,    ///< the time is up, and an attempt was still under way
        E_BOUND_REACHED ///< the bounds tell which one
    };

    /// `bounds` may be null, and has to outlive the object.
    explicit ConnectAttempts(const SocketAddress& peer, OperationBounds* bounds = nullptr);

    /// Called once. Afterwards no attempt is open but the one that connected.
    EOutcome run(const Deadline& deadline);

    /// The socket that connected, non-blocking and closed on exec, and its address.
    FileDescriptor takeSocket();
    const SocketAddress& connectedAddress() const { return m_attempts[m_connected].address; }

    /// The addresses tried without success, in the peer's order, each with its error if it has failed; the first one
    /// if none was tried.
    String describeTheUnsuccessful() const;

    /// The error of the first address in the peer's order whose failure the peer or the network caused; if this machine
    /// caused them all, the first address's.
    int tellingError() const;

private:
    struct Attempt
    {
        SocketAddress address;
        FileDescriptor socket;
        int error = 0;
    };

    bool nextIsDue() const;
    void startNext();
    bool awaitAny(const Deadline& deadline);
    void conclude(std::size_t index, int error);
    bool connected() const { return m_connected != NOT_CONNECTED; }
    bool underWay() const;
    void closeAll();

    static constexpr std::size_t NOT_CONNECTED = static_cast<std::size_t>(-1);

    SocketAddress m_peer;
    OperationBounds* m_bounds;
    std::size_t m_addresses;
    std::vector<Attempt> m_attempts;
    std::vector<pollfd> m_polled;
    Deadline m_nextStart;
    std::size_t m_connected = NOT_CONNECTED;
};

} // namespace blocxx
