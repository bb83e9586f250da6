#include "exchange/TimeLimit.hpp"

#include "blocxx/DateTime.hpp"
#include "blocxx/Format.hpp"

#include <algorithm>
#include <charconv>
#include <ctime>

namespace ZOLNS2::HTTP
{

namespace
{

// Thirty years. Longer spans would overflow the clock's arithmetic, and nobody can tell them from no limit.
constexpr double LONGEST_SPAN_IN_SECONDS = 1e9;

double secondsOf(const blocxx::Timeout& timeout)
{
    if (timeout.getType() != blocxx::Timeout::E_ABSOLUTE)
    {
        return static_cast<double>(timeout.getRelative());
    }
    const blocxx::DateTime now = blocxx::DateTime::getCurrent();
    const blocxx::DateTime end = timeout.getAbsolute();
    return std::difftime(end.get(), now.get()) +
           (static_cast<double>(end.getMicrosecond()) - static_cast<double>(now.getMicrosecond())) / 1e6;
}

} // namespace

TimeLimit::TimeLimit(const blocxx::Timeout& timeout) : m_limited(true)
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

blocxx::Timeout TimeLimit::remaining() const
{
    if (!m_limited)
    {
        return blocxx::Timeout::infinite;
    }
    const std::chrono::duration<float> left = m_end - Clock::now();
    return blocxx::Timeout::relative(std::max(left.count(), 0.0F));
}

const TimeLimit& earlier(const TimeLimit& left, const TimeLimit& right)
{
    const bool rightIsEarlier = right.m_limited && (!left.m_limited || right.m_end < left.m_end);
    return rightIsEarlier ? right : left;
}

blocxx::String limitText(const blocxx::Timeout& timeout)
{
    if (timeout.getType() == blocxx::Timeout::E_ABSOLUTE)
    {
        return "the moment that was set";
    }
    char digits[64];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, timeout.getRelative());
    return blocxx::Format("%1 seconds", blocxx::String(digits, static_cast<std::size_t>(end.ptr - digits)));
}

} // namespace ZOLNS2::HTTP
