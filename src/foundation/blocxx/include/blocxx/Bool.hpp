#pragma once

#include "blocxx/String.hpp"

#include <iosfwd>

namespace blocxx
{

/// A bool that is false from the start and prints itself as "true" or "false".
class BLOCXX_COMMON_API Bool
{
public:
    constexpr Bool(bool value = false) noexcept : m_value(value) {}
    constexpr operator bool() const noexcept { return m_value; }

    String toString() const { return m_value ? "true" : "false"; }

private:
    bool m_value;
};

BLOCXX_COMMON_API std::ostream& operator<<(std::ostream& out, Bool value);

} // namespace blocxx
