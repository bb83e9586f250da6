#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/DateTime.hpp"

#include <chrono>

namespace blocxx
{

/// How long an operation may take: a span of seconds from its start, or a moment of the wall clock.
///
/// A span is measured with the monotonic clock. Zero, negative spans, a span that is not a number, and moments in the
/// past leave no time: the operation fails unless it is ready at once. An infinite span never expires.
///
/// @code
/// options.connectTimeout = blocxx::Timeout::relative(10);
/// const std::time_t now = blocxx::DateTime::getCurrent().get();
/// options.deadline = blocxx::Timeout::absolute(blocxx::DateTime(now + 60)); // one moment for several exchanges
/// @endcode
class BLOCXX_COMMON_API Timeout
{
public:
    /// What the value is.
    enum ETimeoutType
    {
        E_ABSOLUTE,
        E_RELATIVE,
        E_RELATIVE_WITH_RESET
    };

    /// @name From what <chrono> measures
    /// A span is that of `relative`, a moment that of `absolute`: `connection.setTimeouts(std::chrono::seconds(5))`.
    /// @{
    template <class Number, class Unit>
    Timeout(const std::chrono::duration<Number, Unit>& span) noexcept
        : Timeout(E_RELATIVE, DateTime(), std::chrono::duration<float>(span).count())
    {
    }
    template <class Duration>
    Timeout(const std::chrono::time_point<std::chrono::system_clock, Duration>& moment) noexcept
        : Timeout(atMoment(std::chrono::floor<std::chrono::microseconds>(moment.time_since_epoch())))
    {
    }
    /// The moment of the wall clock that this one is now.
    template <class Duration>
    Timeout(const std::chrono::time_point<std::chrono::steady_clock, Duration>& moment) noexcept
        : Timeout(std::chrono::system_clock::now() + (moment - std::chrono::steady_clock::now()))
    {
    }
    /// @}

    /// Expires at a moment of the wall clock. What is left is measured when an operation starts; setting the clock
    /// during the operation changes nothing.
    static Timeout absolute(const DateTime& dt) noexcept;

    /// Expires that many seconds after the operation it is given to starts.
    static Timeout relative(float seconds) noexcept;

    /// As `relative`, for operations that restart the span on activity.
    static Timeout relativeWithReset(float seconds) noexcept;

    /// Never expires; the same as `relative` with positive infinity. Usable during static initialisation.
    static const Timeout infinite;

    /// Which of the functions above made it.
    ETimeoutType getType() const noexcept { return m_type; }

    /// The moment of an absolute time-out; the epoch for the others.
    DateTime getAbsolute() const noexcept { return m_moment; }

    /// The seconds of a relative time-out; 0 for an absolute one.
    float getRelative() const noexcept { return m_seconds; }

private:
    static Timeout atMoment(std::chrono::microseconds sinceTheEpoch) noexcept;

    constexpr Timeout(ETimeoutType type, DateTime moment, float seconds) noexcept
        : m_type(type), m_seconds(seconds), m_moment(moment)
    {
    }

    ETimeoutType m_type;
    float m_seconds;
    DateTime m_moment;
};

/// Two time-outs are equal when they are of one type and give the same moment or the same seconds.
BLOCXX_COMMON_API bool operator==(const Timeout& left, const Timeout& right) noexcept;
BLOCXX_COMMON_API bool operator!=(const Timeout& left, const Timeout& right) noexcept;

} // namespace blocxx
