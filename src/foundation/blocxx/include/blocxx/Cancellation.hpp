#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/IntrusiveReference.hpp"

namespace blocxx
{

/// Ends operations that wait: a handle that is given to them (see Socket::setCancellation and LookUp), and cancelled
/// from elsewhere.
///
/// @code
/// const blocxx::Cancellation cancellation;
/// socket.setCancellation(cancellation);
/// ui.onStop([cancellation] { cancellation.cancel(); }); // the thread that reads from the socket fails with ECANCELED
/// @endcode
///
/// Copies share one state, which is cancelled once and for good; any number of sockets may share it as well. Safe on
/// any thread, also at the same time; one object is not assigned to while another thread uses it.
///
/// A handle acts in the process that made it. In a forked child it stays what it was at the fork: the child does not
/// see a later `cancel()` of its parent, and `cancel()` does nothing there.
class BLOCXX_COMMON_API Cancellation
{
public:
    /// Makes a state of its own, not cancelled, which holds a file descriptor (closed on exec) until the last copy goes.
    /// @throws IOException with the `errno` value if the system gives no descriptor
    Cancellation();

    Cancellation(const Cancellation& other);
    Cancellation& operator=(const Cancellation& other);
    ~Cancellation();

    /// Cancels, and wakes what waits. May be called in a signal handler: it allocates nothing, takes no lock and keeps
    /// `errno`. Not a cancellation point of the thread.
    void cancel() const noexcept;

    /// Whether cancel() was called, in this process or before a fork.
    bool isCancelled() const noexcept;

    /// For poll(2) beside other descriptors: readable once the handle is cancelled. It stays the handle's, and is only
    /// waited for, never read or written. -1, which poll(2) passes over, in a process that did not make the handle.
    int descriptor() const noexcept;

private:
    class State;

    IntrusiveReference<State> m_state;
};

} // namespace blocxx
