#pragma once

/// @file
/// The texts of error numbers, and exceptions made of them; included through Exception.hpp.

#include "blocxx/BLOCXX_config.h"

#include <string>
#include <type_traits>

namespace blocxx::ExceptionDetail
{

/// Puts the system's text of an error number into `buffer`, cut to its size and always terminated.
BLOCXX_COMMON_API void portable_strerror_r(int errnum, char* buffer, unsigned size);

/// The text `<message>: <number>(<system's text>)` of an error number. A null message counts as empty.
class BLOCXX_COMMON_API FormatMsg
{
public:
    /// @param msg null counts as empty
    /// @param errnum an `errno` value
    FormatMsg(const char* msg, int errnum);
    FormatMsg(const FormatMsg&) = delete;
    FormatMsg& operator=(const FormatMsg&) = delete;
    ~FormatMsg();

    /// Valid as long as this object lives.
    const char* get() const noexcept { return m_text.c_str(); }

private:
    std::string m_text;
};

/// Makes exceptions of class E out of error numbers; E is constructible from (file, line, message, error code).
template <class E>
struct Errno
{
    /// The message is the system's text alone.
    static E simple(const char* file, int line, int errnum)
    {
        char text[1024];
        portable_strerror_r(errnum, text, sizeof text);
        return E(file, line, text, errnum);
    }

    /// The message is that of FormatMsg.
    /// @param msg a C string, or any object with c_str()
    template <class Text>
    static E format(const char* file, int line, const Text& msg, int errnum)
    {
        if constexpr (std::is_convertible_v<const Text&, const char*>)
        {
            return E(file, line, FormatMsg(msg, errnum).get(), errnum);
        }
        else
        {
            return E(file, line, FormatMsg(msg.c_str(), errnum).get(), errnum);
        }
    }
};

} // namespace blocxx::ExceptionDetail
