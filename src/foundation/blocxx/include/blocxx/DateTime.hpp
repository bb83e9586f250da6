#pragma once

#include "blocxx/BLOCXX_config.h"

#include <cstdint>
#include <ctime>

namespace blocxx
{

/// A moment of the wall clock: seconds since the epoch, and microseconds below them.
class BLOCXX_COMMON_API DateTime
{
public:
    /// The epoch.
    constexpr DateTime() noexcept : m_seconds(0), m_microseconds(0) {}
    /// @param seconds since the epoch
    /// @param microseconds beyond them
    constexpr explicit DateTime(std::time_t seconds, std::uint32_t microseconds = 0) noexcept
        : m_seconds(seconds), m_microseconds(microseconds)
    {
    }

    /// The time of the wall clock.
    static DateTime getCurrent();

    /// Whole seconds since the epoch.
    constexpr std::time_t get() const noexcept { return m_seconds; }
    /// The microseconds beyond the second.
    constexpr std::uint32_t getMicrosecond() const noexcept { return m_microseconds; }

private:
    std::time_t m_seconds;
    std::uint32_t m_microseconds;
};

constexpr bool operator==(const DateTime& left, const DateTime& right) noexcept
{
    return left.get() == right.get() && left.getMicrosecond() == right.getMicrosecond();
}

constexpr bool operator!=(const DateTime& left, const DateTime& right) noexcept
{
    return !(left == right);
}

} // namespace blocxx
