#pragma once

#include "blocxx/String.hpp"
#include "blocxx/Timeout.hpp"

#include <chrono>

namespace ZOLNS2::HTTP
{

/// The moment at which something has to be done, on the monotonic clock.
class TimeLimit
{
public:
    /// Starts now.
    explicit TimeLimit(const blocxx::Timeout& timeout);

    bool isLimited() const { return m_limited; }
    bool expired() const { return m_limited && Clock::now() >= m_end; }

    /// What is left, for what takes a time-out; infinite without a limit.
    blocxx::Timeout remaining() const;

    friend const TimeLimit& earlier(const TimeLimit& left, const TimeLimit& right);

private:
    using Clock = std::chrono::steady_clock;

    bool m_limited;
    Clock::time_point m_end;
};

const TimeLimit& earlier(const TimeLimit& left, const TimeLimit& right);

/// "2.5 seconds", whatever the locale; "until its moment" for an absolute one.
blocxx::String limitText(const blocxx::Timeout& timeout);

} // namespace ZOLNS2::HTTP
