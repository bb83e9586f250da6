#pragma once

#include "blocxx/String.hpp"

#include <iosfwd>

namespace blocxx
{

/// A bool that is false from the start and prints itself as "true" or "false".
class BLOCXX_COMMON_API Bool
{
public:
    /// Converts from a bool.
    constexpr Bool(bool value = false) noexcept : m_value(value) {}
    /// Converts to a bool.
    constexpr operator bool() const noexcept { return m_value; }

    /// "true" or "false".
    String toString() const { return m_value ? "true" : "false"; }

private:
    bool m_value;
};

/// Writes what toString() returns.
BLOCXX_COMMON_API std::ostream& operator<<(std::ostream& out, Bool value);

} // namespace blocxx
