#include "blocxx/Timeout.hpp"

#include <limits>

namespace blocxx
{

// A constant expression initialises it, so that no static initialiser can come too early for it.
const Timeout Timeout::infinite(E_RELATIVE, DateTime(), std::numeric_limits<float>::infinity());

Timeout Timeout::absolute(const DateTime& dt) noexcept
{
    return {E_ABSOLUTE, dt, 0};
}

Timeout Timeout::atMoment(std::chrono::microseconds sinceTheEpoch) noexcept
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceTheEpoch);
    return absolute(DateTime(static_cast<std::time_t>(seconds.count()),
                             static_cast<std::uint32_t>((sinceTheEpoch - seconds).count())));
}

Timeout Timeout::relative(float seconds) noexcept
{
    return {E_RELATIVE, DateTime(), seconds};
}

Timeout Timeout::relativeWithReset(float seconds) noexcept
{
    return {E_RELATIVE_WITH_RESET, DateTime(), seconds};
}

bool operator==(const Timeout& left, const Timeout& right) noexcept
{
    return left.getType() == right.getType() && left.getAbsolute() == right.getAbsolute() &&
           left.getRelative() == right.getRelative();
}

bool operator!=(const Timeout& left, const Timeout& right) noexcept
{
    return !(left == right);
}

} // namespace blocxx
