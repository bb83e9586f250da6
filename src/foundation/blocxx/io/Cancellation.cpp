#include "blocxx/Cancellation.hpp"

#include "core/FileDescriptor.hpp"

#include "blocxx/ErrnoKeeper.hpp"
#include "blocxx/IOException.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/internal/CancellationOff.hpp"

#include <sys/eventfd.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

namespace blocxx
{

class Cancellation::State : public IntrusiveCountableBase
{
public:
    State() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_process(::getpid())
    {
        if (!m_event.isOpen())
        {
            BLOCXX_THROW_ERRNO_MSG(IOException, "Cancellation: eventfd");
        }
    }

    void cancel() noexcept
    {
        // The event is shared across a fork, the flag is not: a child that wrote would wake its parent for nothing.
        if (!isOfThisProcess())
        {
            return;
        }
        const ErrnoKeeper errnoStays;
        const Internal::CancellationOff writing;
        // The flag comes first: who sees the event has to find it.
        m_cancelled = true;
        const std::uint64_t one = 1;
        // Fails only when the counter is full, and then it is readable.
        [[maybe_unused]] const ssize_t written = ::write(m_event.get(), &one, sizeof one);
    }

    bool isCancelled() const noexcept { return m_cancelled; }
    int descriptor() const noexcept { return isOfThisProcess() ? m_event.get() : -1; }

private:
    bool isOfThisProcess() const noexcept { return ::getpid() == m_process; }

    static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait for a lock");

    FileDescriptor m_event;
    const pid_t m_process;
    std::atomic<bool> m_cancelled{false};
};

Cancellation::Cancellation() : m_state(new State) {}

Cancellation::Cancellation(const Cancellation& other) = default;
Cancellation& Cancellation::operator=(const Cancellation& other) = default;
Cancellation::~Cancellation() = default;

void Cancellation::cancel() const noexcept
{
    m_state->cancel();
}

bool Cancellation::isCancelled() const noexcept
{
    return m_state->isCancelled();
}

int Cancellation::descriptor() const noexcept
{
    return m_state->descriptor();
}

} // namespace blocxx
