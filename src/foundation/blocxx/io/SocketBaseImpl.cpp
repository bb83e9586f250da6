#include "io/SocketBaseImpl.hpp"

#include "io/Wait.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/SocketException.hpp"

#include <netinet/tcp.h>
#include <poll.h>

#include <cerrno>
#include <mutex>

namespace blocxx
{

namespace
{

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

// Connects to one address. Answers 0 and the open descriptor, or the errno value.
int connectToOne(const SocketAddress& address, const Deadline& deadline, FileDescriptor& connected)
{
    if (address.getType() == SocketAddress::UNSET)
    {
        return EINVAL;
    }
    const sockaddr* const native = address.getNativeForm();
    FileDescriptor attempt(::socket(native->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!attempt.isOpen())
    {
        return errno;
    }
    if (::connect(attempt.get(), native, static_cast<socklen_t>(address.getNativeFormSize())) != 0)
    {
        // An interrupted connect goes on in the background, as one in progress does.
        if (errno != EINPROGRESS && errno != EINTR)
        {
            return errno;
        }
        if (!waitUntilReady(attempt.get(), POLLOUT, deadline))
        {
            return errno;
        }
        int outcome = 0;
        socklen_t size = sizeof outcome;
        if (::getsockopt(attempt.get(), SOL_SOCKET, SO_ERROR, &outcome, &size) != 0)
        {
            return errno;
        }
        if (outcome != 0)
        {
            return outcome;
        }
    }
    const int on = 1;
    ::setsockopt(attempt.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    connected = std::move(attempt);
    return 0;
}

// The address families that a machine lacks say nothing about the peer.
bool isAboutThisMachine(int error)
{
    return error == ENETUNREACH || error == EAFNOSUPPORT || error == EADDRNOTAVAIL;
}

String describeLimit(const Timeout& timeout)
{
    if (timeout.getType() == Timeout::E_ABSOLUTE)
    {
        return Format("the moment %1 seconds after the epoch", timeout.getAbsolute().get());
    }
    return Format("%1 seconds", timeout.getRelative());
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
    const Deadline deadline(connectTimeout);
    connectToAny(address, deadline);
    try
    {
        startSession(deadline);
    }
    catch (...)
    {
        disconnect();
        throw;
    }
}

void SocketBaseImpl::connectToAny(const SocketAddress& address, const Deadline& deadline)
{
    const std::size_t count = address.getCandidateCount();
    int tellingError = 0;
    String failures;
    for (std::size_t index = 0; index == 0 || index < count; ++index)
    {
        const SocketAddress candidate = count == 0 ? address : address.getCandidate(index);
        const std::size_t left = count > index ? count - index : 1;
        const int error = connectToOne(candidate, deadline.firstOf(left), m_descriptor);
        if (error == 0)
        {
            m_peerAddress = candidate;
            return;
        }
        if (error == ETIMEDOUT && deadline.expired())
        {
            throwTimedOut("connect", candidate);
        }
        if (tellingError == 0 || !isAboutThisMachine(error))
        {
            tellingError = error;
        }
        const ExceptionDetail::FormatMsg failure(candidate.toString().c_str(), error);
        failures = failures.empty() ? String(failure.get()) : String(Format("%1; %2", failures, failure.get()));
    }
    BLOCXX_THROW_ERR(SocketException, Format("Failed to connect to: %1", failures).c_str(), tellingError);
}

void SocketBaseImpl::throwTimedOut(const char* phase, const SocketAddress& address) const
{
    const Format message("%1 timed out: %2 (limit: %3)", phase, address.toString(), describeLimit(connectTimeout));
    BLOCXX_THROW_ERR(SocketException, message.c_str(), ETIMEDOUT);
}

void SocketBaseImpl::disconnect()
{
    if (isConnected())
    {
        endSession();
        m_descriptor.close();
        m_peerAddress = SocketAddress();
    }
}

int SocketBaseImpl::read(void* data, int length, IOIFC::ErrorAction errorAction)
{
    if (length == 0)
    {
        return 0;
    }
    int count = -1;
    if (!isConnected() || length < 0)
    {
        errno = length < 0 ? EINVAL : ENOTCONN;
    }
    else
    {
        count = receive(data, length);
    }
    if (count < 0 && errorAction == IOIFC::E_THROW_ON_ERROR)
    {
        BLOCXX_THROW_ERRNO_MSG(SocketException, "SocketBaseImpl::read");
    }
    return count;
}

int SocketBaseImpl::write(const void* data, int length, IOIFC::ErrorAction errorAction)
{
    if (length == 0)
    {
        return 0;
    }
    int count = -1;
    if (!isConnected() || length < 0)
    {
        errno = length < 0 ? EINVAL : ENOTCONN;
    }
    else
    {
        count = sendAll(data, length);
    }
    if (count < 0 && errorAction == IOIFC::E_THROW_ON_ERROR)
    {
        BLOCXX_THROW_ERRNO_MSG(SocketException, "SocketBaseImpl::write");
    }
    return count;
}

SocketAddress SocketBaseImpl::localAddress() const
{
    SocketAddress address;
    sockaddr_storage native{};
    socklen_t size = sizeof native;
    if (isConnected() && ::getsockname(descriptor(), reinterpret_cast<sockaddr*>(&native), &size) == 0)
    {
        address.assignFromNativeForm(reinterpret_cast<const sockaddr*>(&native), size);
    }
    return address;
}

} // namespace blocxx
