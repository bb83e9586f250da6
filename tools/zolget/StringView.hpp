#pragma once

#include "blocxx/String.hpp"

#include <string>
#include <string_view>

namespace zolget
{

/// The bytes of a string of the library, NUL among them; valid as long as the string.
inline std::string_view viewOf(const blocxx::String& text)
{
    return {text.c_str(), text.length()};
}

inline std::string toStdString(const blocxx::String& text)
{
    return std::string(viewOf(text));
}

} // namespace zolget
