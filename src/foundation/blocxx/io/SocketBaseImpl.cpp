#include "io/SocketBaseImpl.hpp"

#include "io/ConnectOne.hpp"
#include "io/SocketNames.hpp"
#include "io/TimeoutText.hpp"
#include "io/Wait.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/SocketException.hpp"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <optional>
#include <utility>

namespace blocxx
{

namespace
{

// The most that is written between two looks at the bounds: a peer that takes everything must not keep a large write
// from ending.
const int PIECE_SIZE = 64 * 1024;

class DefaultTimeout
{
public:
    Timeout get() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_timeout;
    }

    void set(const Timeout& timeout)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_timeout = timeout;
    }

    static DefaultTimeout& instance()
    {
        static DefaultTimeout one;
        return one;
    }

private:
    mutable std::mutex m_mutex;
    Timeout m_timeout = Timeout::relative(300);
};

[[noreturn]] void throwTimedOut(const char* phase, const String& addresses, const Timeout& limit)
{
    const Format message("%1 timed out: %2 (limit: %3)", phase, addresses, describeLimit(limit));
    BLOCXX_THROW_ERR(SocketException, message.c_str(), ETIMEDOUT);
}

[[noreturn]] void throwConnectFailed(const String& tried, int error)
{
    BLOCXX_THROW_ERR(SocketException, Format("Failed to connect to: %1", tried).c_str(), error);
}

} // namespace

SocketBaseImpl::SocketBaseImpl() : receiveTimeout(DefaultTimeout::instance().get()), sendTimeout(receiveTimeout) {}

void SocketBaseImpl::setDefaultTimeout(const Timeout& timeout)
{
    DefaultTimeout::instance().set(timeout);
}

void SocketBaseImpl::connect(const SocketAddress& address)
{
    disconnect();
    m_reachedHandshake = false;
    const Deadline deadline(connectTimeout);
    String unsuccessful;
    if (address.getCandidateCount() == 1)
    {
        connectToOnly(address, deadline);
    }
    else
    {
        unsuccessful = connectToAny(address, deadline);
    }
    try
    {
        if (!startSession(deadline))
        {
            const String connected = m_peerAddress.toString();
            const String addresses =
                unsuccessful.empty() ? connected : String(Format("%1; also tried: %2", connected, unsuccessful));
            if (boundReached())
            {
                throwBoundReached("TLS handshake", addresses);
            }
            throwTimedOut("TLS handshake", addresses, connectTimeout);
        }
    }
    catch (...)
    {
        disconnect();
        throw;
    }
}

// Returns the addresses that were tried without success.
String SocketBaseImpl::connectToAny(const SocketAddress& address, const Deadline& deadline)
{
    ConnectAttempts attempts(address, setBounds());
    const ConnectAttempts::EOutcome outcome = attempts.run(deadline);
    String unsuccessful = attempts.describeTheUnsuccessful();
    if (outcome == ConnectAttempts::E_FAILED)
    {
        throwConnectFailed(unsuccessful, attempts.tellingError());
    }
    requireEnded(outcome, unsuccessful);
    start(attempts.takeSocket(), attempts.connectedAddress());
    return unsuccessful;
}

// As connectToAny, for the one address that most peers have, without its bookkeeping; see ConnectOne.hpp.
void SocketBaseImpl::connectToOnly(const SocketAddress& address, const Deadline& deadline)
{
    OneConnect result = connectToOne(address, deadline, setBounds());
    if (result.outcome == ConnectAttempts::E_CONNECTED)
    {
        start(std::move(result.socket), address);
        return;
    }
    const String tried = address.toString();
    requireEnded(result.outcome, tried);
    throwConnectFailed(ExceptionDetail::FormatMsg(tried.c_str(), result.error).get(), result.error);
}

// Throws where a connect was given up before it came to an end of its own.
void SocketBaseImpl::requireEnded(ConnectAttempts::EOutcome outcome, const String& tried)
{
    if (outcome == ConnectAttempts::E_TIMED_OUT)
    {
        throwTimedOut("connect", tried, connectTimeout);
    }
    if (outcome == ConnectAttempts::E_BOUND_REACHED)
    {
        throwBoundReached("connect", tried);
    }
}

OperationBounds& SocketBaseImpl::bounds()
{
    if (!m_bounds)
    {
        m_bounds.emplace();
    }
    return *m_bounds;
}

// Returns whether operations have to end; `errno` tells why.
bool SocketBaseImpl::boundReached()
{
    const int error = m_bounds ? m_bounds->reached() : 0;
    if (error == 0)
    {
        return false;
    }
    errno = error;
    return true;
}

void SocketBaseImpl::throwBoundReached(const char* phase, const String& addresses)
{
    const int error = m_bounds->reached();
    const Format message(error == ECANCELED ? "%1 was cancelled: %2" : "%1 timed out: %2 (deadline)", phase, addresses);
    BLOCXX_THROW_ERR(SocketException, message.c_str(), error);
}

void SocketBaseImpl::adopt(int connected)
{
    FileDescriptor socket(connected);
    disconnect();
    const int flags = ::fcntl(connected, F_GETFD);
    if (flags < 0 || ::fcntl(connected, F_SETFD, flags | FD_CLOEXEC) < 0)
    {
        BLOCXX_THROW_ERRNO_MSG(SocketException, "SocketBaseImpl::adopt");
    }
    start(std::move(socket), addressOf(connected, ::getpeername));
}

void SocketBaseImpl::start(FileDescriptor&& socket, const SocketAddress& peer)
{
    m_descriptor = std::move(socket);
    m_peerAddress = peer;
    forgetErrorText();
    m_receiveTimedOut = false;
    if (m_streams)
    {
        m_streams->restart();
    }
}

void SocketBaseImpl::disconnect()
{
    if (!isConnected())
    {
        return;
    }
    endSession();
    m_descriptor.close();
    m_peerAddress = SocketAddress();
    if (m_streams)
    {
        m_streams->end();
    }
}

SocketStreams& SocketBaseImpl::streams()
{
    if (!m_streams)
    {
        m_streams = std::make_unique<SocketStreams>(*this);
    }
    return *m_streams;
}

// What a read and a write have in common: `bytes` moves at least one byte of a connected socket.
template <class Transfer>
int SocketBaseImpl::transfer(const char* name, int length, ErrorAction errorAction, Transfer bytes)
{
    if (length == 0)
    {
        return 0;
    }
    forgetErrorText();
    int count = -1;
    if (!isConnected() || length < 0)
    {
        errno = length < 0 ? EINVAL : ENOTCONN;
    }
    else
    {
        count = bytes();
    }
    if (count < 0 && errno == ETIMEDOUT && deadlineExpired())
    {
        m_errorText = "the deadline has passed";
        errno = ETIMEDOUT;
    }
    if (count < 0 && errorAction == E_THROW_ON_ERROR)
    {
        const int error = errno;
        const String message = m_errorText.empty() ? String(name) : String(Format("%1: %2", name, m_errorText));
        BLOCXX_THROW_ERRNO_MSG1(SocketException, message, error);
    }
    return count;
}

int SocketBaseImpl::read(void* data, int length, ErrorAction errorAction)
{
    return transfer("SocketBaseImpl::read", length, errorAction,
                    [this, data, length]
                    {
                        m_receiveTimedOut = false;
                        return boundReached() ? -1 : receive(data, length);
                    });
}

int SocketBaseImpl::readPieces(iovec* pieces, std::size_t count, ErrorAction errorAction)
{
    return transfer("SocketBaseImpl::read", 1, errorAction,
                    [this, pieces, count]
                    {
                        m_receiveTimedOut = false;
                        return boundReached() ? -1 : receivePieces(pieces, count);
                    });
}

int SocketBaseImpl::receivePieces(iovec*, std::size_t)
{
    errno = ENOTSUP;
    return -1;
}

int SocketBaseImpl::write(const void* data, int length, ErrorAction errorAction)
{
    return transfer("SocketBaseImpl::write", length, errorAction,
                    [this, data, length] {
                        return m_bounds ? sendInPieces(static_cast<const char*>(data), length) : sendAll(data, length);
                    });
}

int SocketBaseImpl::sendInPieces(const char* data, int length)
{
    int sent = 0;
    while (sent < length)
    {
        const int size = std::min(length - sent, PIECE_SIZE);
        if (boundReached() || sendAll(data + sent, size) < 0)
        {
            return -1;
        }
        sent += size;
    }
    return sent;
}

int SocketBaseImpl::writeUnlessInput(const void* data, int length)
{
    return transfer("SocketBaseImpl::writeUnlessInput", length, E_RETURN_ON_ERROR,
                    [this, data, length] { return sendUnlessInput(static_cast<const char*>(data), length); });
}

int SocketBaseImpl::sendUnlessInput(const char* data, int length)
{
    int sent = 0;
    std::optional<Deadline> deadline;
    while (sent < length)
    {
        if (boundReached())
        {
            return -1;
        }
        if (isInputAtHand())
        {
            return sent;
        }
        short event = 0;
        const int count = sendSome(data + sent, std::min(length - sent, PIECE_SIZE), event);
        if (count > 0)
        {
            sent += count;
            deadline.reset();
            continue;
        }
        if (event == 0)
        {
            return -1;
        }
        if (!deadline)
        {
            deadline.emplace(sendTimeout);
        }
        if (!await(static_cast<short>(event | POLLIN), *deadline))
        {
            return -1;
        }
    }
    return sent;
}

bool SocketBaseImpl::hasInput(const Timeout& timeout)
{
    m_receiveTimedOut = false;
    if (!isConnected())
    {
        errno = ENOTCONN;
        return false;
    }
    const bool waits = timeout.getType() == Timeout::E_ABSOLUTE || timeout.getRelative() > 0;
    const Deadline deadline(waits ? timeout : Timeout::infinite);
    while (!boundReached())
    {
        if (isInputAtHand())
        {
            return true;
        }
        if (!waits)
        {
            // Another look at the descriptor would be in vain.
            m_receiveTimedOut = true;
            errno = ETIMEDOUT;
            return false;
        }
        if (!awaitInput(POLLIN, deadline))
        {
            return false;
        }
    }
    return false;
}

bool SocketBaseImpl::await(short event, const Deadline& deadline)
{
    return waitUntilReady(descriptor(), event, deadline, setBounds());
}

bool SocketBaseImpl::awaitInput(short event, const Deadline& deadline)
{
    const bool ready = await(event, deadline);
    m_receiveTimedOut = !ready && errno == ETIMEDOUT && !deadlineExpired();
    return ready;
}

bool SocketBaseImpl::isInputReady(const Timeout& timeout)
{
    m_receiveTimedOut = false;
    if (!isConnected())
    {
        errno = ENOTCONN;
        return false;
    }
    return !boundReached() && (holdsInput() || awaitInput(POLLIN, Deadline(timeout)));
}

bool SocketBaseImpl::isOutputReady(const Timeout& timeout)
{
    if (!isConnected())
    {
        errno = ENOTCONN;
        return false;
    }
    return await(POLLOUT, Deadline(timeout));
}

SocketAddress SocketBaseImpl::localAddress() const
{
    return isConnected() ? addressOf(descriptor(), ::getsockname) : SocketAddress();
}

} // namespace blocxx
