#include "io/LookUp.hpp"

#include "io/Deadline.hpp"
#include "io/TimeoutText.hpp"
#include "io/Wait.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/SocketException.hpp"
#include "blocxx/internal/CancellationOff.hpp"

#include <pthread.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <mutex>
#include <utility>

namespace blocxx
{

namespace
{

// How long a cancellation may go unnoticed: nothing can be polled together with a request.
const int SLICE_IN_MILLISECONDS = 20;

int familyOf(LookUp::EFamily family)
{
    switch (family)
    {
    case LookUp::E_IPV4_ONLY:
        return AF_INET;
    case LookUp::E_IPV6_ONLY:
        return AF_INET6;
    default:
        return AF_UNSPEC;
    }
}

// No AI_ADDRCONFIG: it hides localhost's addresses on a machine that has no others.
addrinfo hintsFor(LookUp::EFamily family)
{
    addrinfo hints{};
    hints.ai_family = familyOf(family);
    hints.ai_socktype = SOCK_STREAM;
    return hints;
}

NameLookUp resultOf(int code, int error, addrinfo* addresses)
{
    return {code, error, {addresses, ::freeaddrinfo}};
}

NameLookUp lookUpHere(const String& name, LookUp::EFamily family)
{
    const addrinfo hints = hintsFor(family);
    addrinfo* found = nullptr;
    const int code = ::getaddrinfo(name.c_str(), nullptr, &hints, &found);
    return resultOf(code, errno, found);
}

// A look-up on the C library's threads, which use the object until it is done or forgotten.
class Request
{
public:
    Request(const String& name, LookUp::EFamily family) : m_name(name), m_hints(hintsFor(family))
    {
        m_block.ar_name = m_name.c_str();
        m_block.ar_request = &m_hints;
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;
    ~Request()
    {
        if (m_block.ar_result != nullptr)
        {
            ::freeaddrinfo(m_block.ar_result);
        }
    }

    /// @return 0, or the code of what kept it from being started
    int start()
    {
        gaicb* const list[] = {&m_block};
        return ::getaddrinfo_a(GAI_NOWAIT, const_cast<gaicb**>(list), 1, nullptr);
    }

    // The result is there before the library's thread has let go of the request; gai_cancel(3) knows when it has.
    bool isDone() { return ::gai_error(&m_block) != EAI_INPROGRESS && forget(); }

    /// Takes the request back if no thread works on it. @return whether the library is done with the object
    bool forget() { return ::gai_cancel(&m_block) != EAI_NOTCANCELED; }

    void wait(int milliseconds)
    {
        const timespec limit{milliseconds / 1000, milliseconds % 1000 * 1000000L};
        const gaicb* const list[] = {&m_block};
        // The library leaves pointers to this stack behind when a thread is cancelled in the call.
        const Internal::CancellationOff waiting;
        ::gai_suspend(list, 1, &limit);
    }

    NameLookUp takeResult() { return resultOf(::gai_error(&m_block), 0, std::exchange(m_block.ar_result, nullptr)); }

    Request* next = nullptr; ///< in the list of GivenUp

private:
    String m_name;
    addrinfo m_hints;
    gaicb m_block{};
};

// Keeps the requests that nobody waits for any more, and that a thread of the library still works on.
class GivenUp
{
public:
    /// Never destroyed: the threads may outlive static destruction.
    static GivenUp& instance()
    {
        static GivenUp& one = *new GivenUp;
        return one;
    }

    void take(Request* request) noexcept
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        request->next = std::exchange(m_first, request);
    }

    void deleteTheDone()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Request** link = &m_first;
        while (*link != nullptr)
        {
            if (!(*link)->isDone())
            {
                link = &(*link)->next;
                continue;
            }
            const std::unique_ptr<Request> done(std::exchange(*link, (*link)->next));
        }
    }

private:
    std::mutex m_mutex;
    Request* m_first = nullptr;
};

struct GiveUp
{
    void operator()(Request* request) const noexcept
    {
        if (request->forget())
        {
            delete request;
        }
        else
        {
            GivenUp::instance().take(request);
        }
    }
};

// The threads of the pool exist in the process that first used it alone. Its children have a copy of what the pool had
// to do, and nobody who does it.
bool poolIsOfThisProcess()
{
    static std::atomic<pid_t> firstUser{0};
    pid_t user = 0;
    const pid_t self = ::getpid();
    return firstUser.compare_exchange_strong(user, self) || user == self;
}

// The limits of one look-up, from its start.
class Limits
{
public:
    Limits(const String& name, const LookUp& limits) : m_name(name), m_limits(limits), m_deadline(limits.timeout) {}

    void throwIfCancelled() const
    {
        if (m_limits.cancellation && m_limits.cancellation->isCancelled())
        {
            BLOCXX_THROW_ERR(SocketException, Format("Looking up %1 was cancelled", m_name).c_str(), ECANCELED);
        }
    }

    void throwIfTimedOut() const
    {
        if (m_deadline.expired())
        {
            const Format message("Looking up %1 timed out (limit: %2)", m_name, describeLimit(m_limits.timeout));
            BLOCXX_THROW_ERR(SocketException, message.c_str(), ETIMEDOUT);
        }
    }

    int nextSlice() const { return earlierTimeout(m_deadline.remainingMilliseconds(), SLICE_IN_MILLISECONDS); }

private:
    const String& m_name;
    const LookUp& m_limits;
    const Deadline m_deadline;
};

NameLookUp lookUpInPool(const String& name, LookUp::EFamily family, const Limits& limits)
{
    GivenUp::instance().deleteTheDone();
    const std::unique_ptr<Request, GiveUp> request(new Request(name, family));
    if (const int code = request->start())
    {
        return resultOf(code, 0, nullptr);
    }
    for (;;)
    {
        limits.throwIfCancelled();
        if (request->isDone())
        {
            return request->takeResult();
        }
        limits.throwIfTimedOut();
        request->wait(limits.nextSlice());
        ::pthread_testcancel();
    }
}

} // namespace

NameLookUp lookUpName(const String& name, const LookUp& lookUp)
{
    if (lookUp.timeout == Timeout::infinite && !lookUp.cancellation)
    {
        return lookUpHere(name, lookUp.family);
    }
    const Limits limits(name, lookUp);
    limits.throwIfCancelled();
    if (poolIsOfThisProcess())
    {
        return lookUpInPool(name, lookUp.family, limits);
    }
    limits.throwIfTimedOut();
    NameLookUp found = lookUpHere(name, lookUp.family);
    limits.throwIfCancelled();
    limits.throwIfTimedOut();
    return found;
}

} // namespace blocxx
