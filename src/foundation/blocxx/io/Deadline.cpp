#include "io/Deadline.hpp"

#include <algorithm>
#include <climits>

namespace blocxx
{

namespace
{

// Thirty years. Longer spans would overflow the clock's arithmetic, and make no difference from no limit.
const double LONGEST_SPAN_IN_SECONDS = 1e9;

double secondsOf(const Timeout& timeout)
{
    if (timeout.getType() != Timeout::E_ABSOLUTE)
    {
        return static_cast<double>(timeout.getRelative());
    }
    const DateTime now = DateTime::getCurrent();
    const DateTime end = timeout.getAbsolute();
    return std::difftime(end.get(), now.get()) +
           (static_cast<double>(end.getMicrosecond()) - static_cast<double>(now.getMicrosecond())) / 1e6;
}

} // namespace

Deadline::Deadline(const Timeout& timeout) : m_limited(true)
{
    const double seconds = secondsOf(timeout);
    if (seconds >= LONGEST_SPAN_IN_SECONDS)
    {
        m_limited = false;
        return;
    }
    m_end = Clock::now();
    // Not a number counts as no time left, as negative spans do.
    if (seconds > 0)
    {
        m_end += std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    }
}

bool Deadline::expired() const
{
    return m_limited && Clock::now() >= m_end;
}

int Deadline::remainingMilliseconds() const
{
    if (!m_limited)
    {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

} // namespace blocxx
