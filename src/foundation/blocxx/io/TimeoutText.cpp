#include "io/TimeoutText.hpp"

#include "blocxx/Format.hpp"

#include <charconv>
#include <cstddef>

namespace blocxx
{

namespace
{

// Numbers of a fixed text do not follow the global locale, as streams do.
template <class Number>
String decimal(Number number)
{
    char digits[64];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number);
    return String(digits, static_cast<std::size_t>(end.ptr - digits));
}

} // namespace

String describeLimit(const Timeout& timeout)
{
    if (timeout.getType() == Timeout::E_ABSOLUTE)
    {
        return Format("the moment %1 seconds after the epoch", decimal(timeout.getAbsolute().get()));
    }
    return Format("%1 seconds", decimal(timeout.getRelative()));
}

} // namespace blocxx
