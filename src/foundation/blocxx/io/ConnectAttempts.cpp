#include "io/ConnectAttempts.hpp"

#include "io/ConnectCalls.hpp"
#include "io/OperationBounds.hpp"
#include "io/Wait.hpp"

#include "blocxx/Format.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace blocxx
{

namespace
{

// The Connection Attempt Delay that RFC 8305, section 5, recommends.
const float ATTEMPT_DELAY_IN_SECONDS = 0.25F;

const short NOT_READY = 0;

// Errors of socket(2) and connect(2) that mean that this machine lacks a network, an address family, a permission or
// memory say nothing about the peer.
bool isAboutThisMachine(int error)
{
    switch (error)
    {
    case EACCES:
    case EADDRNOTAVAIL:
    case EAFNOSUPPORT:
    case EINVAL:
    case EMFILE:
    case ENETDOWN:
    case ENETUNREACH:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
    case EPERM:
        return true;
    default:
        return false;
    }
}

} // namespace

ConnectAttempts::ConnectAttempts(const SocketAddress& peer, OperationBounds* bounds)
    : m_peer(peer), m_bounds(bounds), m_addresses(std::max<std::size_t>(peer.getCandidateCount(), 1)),
      m_nextStart(Timeout::infinite)
{
}

ConnectAttempts::EOutcome ConnectAttempts::run(const Deadline& deadline)
{
    for (;;)
    {
        if (m_bounds != nullptr && m_bounds->reached() != 0)
        {
            m_connected = NOT_CONNECTED;
            closeAll();
            return E_BOUND_REACHED;
        }
        while (!connected() && nextIsDue())
        {
            startNext();
        }
        if (connected())
        {
            m_polled.clear();
            return E_CONNECTED;
        }
        if (!underWay())
        {
            return E_FAILED;
        }
        if (!awaitAny(deadline) && deadline.expired())
        {
            closeAll();
            return E_TIMED_OUT;
        }
    }
}

void ConnectAttempts::closeAll()
{
    std::for_each(m_attempts.begin(), m_attempts.end(), [](Attempt& attempt) { attempt.socket.close(); });
}

bool ConnectAttempts::underWay() const
{
    return std::any_of(m_attempts.begin(), m_attempts.end(),
                       [](const Attempt& attempt) { return attempt.socket.isOpen(); });
}

bool ConnectAttempts::nextIsDue() const
{
    return m_attempts.size() < m_addresses &&
           (m_attempts.empty() || !m_attempts.back().socket.isOpen() || m_nextStart.expired());
}

void ConnectAttempts::startNext()
{
    const std::size_t index = m_attempts.size();
    m_attempts.push_back({m_peer.getCandidateCount() == 0 ? m_peer : m_peer.getCandidate(index), FileDescriptor()});
    Attempt& attempt = m_attempts.back();
    int error = 0;
    attempt.socket = beginConnect(attempt.address, error);
    m_nextStart = Deadline(Timeout::relative(ATTEMPT_DELAY_IN_SECONDS));
    if (error != EINPROGRESS)
    {
        conclude(index, error);
    }
}

// Waits until an attempt is ready, the next one is due, the time is up or a bound reached. Returns whether one was
// ready.
bool ConnectAttempts::awaitAny(const Deadline& deadline)
{
    m_polled.clear();
    for (const Attempt& attempt : m_attempts)
    {
        // poll(2) skips the negative descriptors of those that have failed.
        m_polled.push_back({attempt.socket.get(), POLLOUT, NOT_READY});
    }
    int limit = deadline.remainingMilliseconds();
    if (m_attempts.size() < m_addresses)
    {
        limit = earlierTimeout(limit, m_nextStart.remainingMilliseconds());
    }
    if (m_bounds != nullptr)
    {
        m_polled.push_back({m_bounds->descriptor(), POLLIN, NOT_READY});
        limit = earlierTimeout(limit, m_bounds->remainingMilliseconds());
    }
    const int ready = ::poll(m_polled.data(), m_polled.size(), limit);
    const int pollError = ready < 0 ? errno : 0;
    if (ready == 0 || pollError == EINTR)
    {
        return false;
    }
    for (std::size_t index = 0; index < m_attempts.size() && !connected(); ++index)
    {
        if (pollError != 0 && m_attempts[index].socket.isOpen())
        {
            conclude(index, pollError);
        }
        else if (m_polled[index].revents != NOT_READY)
        {
            conclude(index, connectOutcome(m_attempts[index].socket.get()));
        }
    }
    return true;
}

void ConnectAttempts::conclude(std::size_t index, int error)
{
    Attempt& attempt = m_attempts[index];
    if (error == 0)
    {
        error = finishConnect(attempt.socket.get(), attempt.address);
    }
    attempt.error = error;
    if (error != 0)
    {
        attempt.socket.close();
        return;
    }
    m_connected = index;
    for (Attempt& other : m_attempts)
    {
        if (&other != &attempt)
        {
            other.socket.close();
        }
    }
}

FileDescriptor ConnectAttempts::takeSocket()
{
    return std::move(m_attempts[m_connected].socket);
}

String ConnectAttempts::describeTheUnsuccessful() const
{
    if (m_attempts.empty())
    {
        return m_peer.toString();
    }
    String all;
    for (std::size_t index = 0; index < m_attempts.size(); ++index)
    {
        if (index == m_connected)
        {
            continue;
        }
        const Attempt& attempt = m_attempts[index];
        String one = attempt.address.toString();
        if (attempt.error != 0)
        {
            one = ExceptionDetail::FormatMsg(one.c_str(), attempt.error).get();
        }
        all = all.empty() ? one : String(Format("%1; %2", all, one));
    }
    return all;
}

int ConnectAttempts::tellingError() const
{
    const auto telling = std::find_if(m_attempts.begin(), m_attempts.end(),
                                      [](const Attempt& attempt) { return !isAboutThisMachine(attempt.error); });
    return telling == m_attempts.end() ? m_attempts.front().error : telling->error;
}

} // namespace blocxx
