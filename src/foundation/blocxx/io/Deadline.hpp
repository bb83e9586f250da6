#pragma once

#include "blocxx/Timeout.hpp"

#include <chrono>

namespace blocxx
{

/// The moment at which an operation's time is up, measured with the monotonic clock.
class Deadline
{
public:
    /// Starts the operation's time now.
    explicit Deadline(const Timeout& timeout);

    bool expired() const;

    /// The milliseconds left, as poll(2) takes them: rounded up, 0 when expired, -1 when there is no limit.
    int remainingMilliseconds() const;

private:
    using Clock = std::chrono::steady_clock;

    bool m_limited;
    Clock::time_point m_end;
};

} // namespace blocxx
