#pragma once

#include "io/Deadline.hpp"

#include "blocxx/Cancellation.hpp"
#include "blocxx/Timeout.hpp"

#include <optional>

namespace blocxx
{

/// What ends all operations of a socket alike, beside the time-out that each has: a cancellation and a deadline.
class OperationBounds
{
public:
    void setCancellation(const std::optional<Cancellation>& cancellation) { m_cancellation = cancellation; }

    /// Starts the time now.
    void setDeadline(const Timeout& timeout);

    /// @return 0 if operations may continue, else the `errno` value that they end with: ECANCELED or ETIMEDOUT
    int reached();

    bool isCancelled() const { return m_cancellation && m_cancellation->isCancelled(); }

    /// Whether reached() has told of the deadline since it was set.
    bool deadlineExpired() const { return m_deadlineExpired; }

    /// What a wait polls for POLLIN beside its own descriptors; -1 for none.
    int descriptor() const { return m_cancellation ? m_cancellation->descriptor() : -1; }

    /// How long a wait may last, as poll(2) takes it; 0 once the deadline has passed.
    int remainingMilliseconds() const { return m_deadline.remainingMilliseconds(); }

private:
    std::optional<Cancellation> m_cancellation;
    Deadline m_deadline{Timeout::infinite};
    bool m_deadlineExpired = false;
};

} // namespace blocxx
