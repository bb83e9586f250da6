#include "Deadline.hpp"

#include <algorithm>
#include <limits>

namespace zolget
{

namespace
{

// Beyond this, sums of times overflow.
constexpr float LONGEST = 1e9F; // seconds, some thirty years

} // namespace

Deadline::Deadline(float seconds)
{
    if (seconds < LONGEST)
    {
        const std::chrono::duration<float> time(seconds);
        m_end = Clock::now() + std::chrono::duration_cast<Clock::duration>(time);
    }
}

blocxx::Timeout Deadline::remaining() const
{
    if (!m_end.has_value())
    {
        return blocxx::Timeout::infinite;
    }
    return blocxx::Timeout::relative(std::chrono::duration<float>(*m_end - Clock::now()).count());
}

int Deadline::remainingMilliseconds() const
{
    if (!m_end.has_value())
    {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_end - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

bool Deadline::allows(std::chrono::seconds pause) const
{
    return !m_end.has_value() || pause < *m_end - Clock::now();
}

} // namespace zolget
