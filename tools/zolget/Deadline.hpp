#pragma once

#include "blocxx/Timeout.hpp"

#include <chrono>
#include <optional>

namespace zolget
{

/// The end of the time that the whole run may take.
class Deadline
{
public:
    /// No end.
    Deadline() = default;

    /// @param seconds from now on; infinity for no end
    explicit Deadline(float seconds);

    /// What is left, for an operation that starts now.
    blocxx::Timeout remaining() const;

    /// The same as poll(2) takes it: -1 for no end, 0 if it has passed.
    int remainingMilliseconds() const;

    /// Whether a pause of this length ends before it.
    bool allows(std::chrono::seconds pause) const;

private:
    using Clock = std::chrono::steady_clock;

    std::optional<Clock::time_point> m_end;
};

} // namespace zolget
