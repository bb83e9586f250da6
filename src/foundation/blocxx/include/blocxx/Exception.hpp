#pragma once

#include "blocxx/BLOCXX_config.h"

#include <exception>
#include <iosfwd>
#include <memory>
#include <type_traits>

namespace blocxx
{

/// The base of every exception of the library. Only derived classes can be created and copied; the macros of
/// ExceptionMacros.hpp make them.
///
/// Creating and copying one never throws: a text for which memory is exhausted is absent, and so is a sub-exception
/// that cannot be cloned.
class BLOCXX_COMMON_API Exception : public std::exception
{
public:
    static constexpr int UNKNOWN_SUBCLASS_ID = -1;
    static constexpr int UNKNOWN_ERROR_CODE = -1;

    ~Exception() noexcept override;

    /// The class's name without its namespace; never null.
    virtual const char* type() const;
    /// The message; never null, empty when there is none.
    virtual const char* getMessage() const;
    /// The same text as getMessage().
    const char* what() const noexcept override;
    /// A new copy that the caller owns, or null when memory is exhausted. A derived class answers its own type.
    virtual Exception* clone() const;
    /// Throws a copy of this exception. A derived class that does not override it is cut down to its base.
    virtual void rethrow() const;

    /// The source file or unit that threw; never null, empty when there is none.
    const char* getFile() const noexcept;
    int getLine() const noexcept { return m_line; }
    int getErrorCode() const noexcept { return m_errorCode; }
    int getSubClassId() const noexcept { return m_subClassId; }
    /// The exception that led to this one, owned by this one; null when there is none.
    const Exception* getSubException() const noexcept { return m_otherException.get(); }

    /// A copy that the caller gives back with delete[]; null for null and when memory is exhausted.
    static char* dupString(const char* text) noexcept;

protected:
    /// @param file           copied; may be null
    /// @param msg            copied; may be null
    /// @param otherException cloned; may be null
    Exception(const char* file, int line, const char* msg, int errorCode, const Exception* otherException = nullptr,
              int subClassId = UNKNOWN_SUBCLASS_ID) noexcept;
    Exception(const Exception& other) noexcept;
    Exception& operator=(const Exception& other) noexcept;

    void swap(Exception& other) noexcept;
    void setSubClassId(int subClassId) noexcept { m_subClassId = subClassId; }
    void setErrorCode(int errorCode) noexcept { m_errorCode = errorCode; }

private:
    std::unique_ptr<char[]> m_file;
    std::unique_ptr<char[]> m_message;
    std::unique_ptr<const Exception> m_otherException;
    int m_line;
    int m_errorCode;
    int m_subClassId;
};

/// Writes `<file>: <line> <type>: <code>: <message> <<sub-exception>>`. An error code of -1 is left out; absent parts
/// read "[no file]", "[no line]" and "[no message]".
BLOCXX_COMMON_API std::ostream& operator<<(std::ostream& out, const Exception& exception);

/// Logs an exception that cannot be delivered, in the error category of component "blocxx.Exception".
/// @param description where it was caught
BLOCXX_COMMON_API void logErroneousException(const char* description);
BLOCXX_COMMON_API void logErroneousException(const char* description, const std::exception& exception);
BLOCXX_COMMON_API void logErroneousException(const char* description, const Exception& exception);

namespace ExceptionDetail
{

/// Logs the exception being handled with logErroneousException; to be called inside a handler. Nothing escapes: what
/// the logging itself throws is dropped.
BLOCXX_COMMON_API void logCurrentException(const char* description) noexcept;

/// Puts the system's text of an error number into `buffer`, cut to its size and always terminated.
BLOCXX_COMMON_API void portable_strerror_r(int errnum, char* buffer, unsigned size);

/// The text `<message>: <number>(<system's text>)` of an error number. A null message counts as empty.
class BLOCXX_COMMON_API FormatMsg
{
public:
    FormatMsg(const char* msg, int errnum);
    FormatMsg(const FormatMsg&) = delete;
    FormatMsg& operator=(const FormatMsg&) = delete;
    ~FormatMsg();

    /// Valid as long as this object lives.
    const char* get() const noexcept;

private:
    std::unique_ptr<char[]> m_text;
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

} // namespace ExceptionDetail
} // namespace blocxx

#include "blocxx/ExceptionMacros.hpp" // IWYU pragma: export
