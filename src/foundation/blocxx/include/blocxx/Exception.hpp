#pragma once

#include "blocxx/BLOCXX_config.h"

#include <exception>
#include <iosfwd>
#include <memory>

namespace blocxx
{

/// The base of every exception of the library. Only derived classes can be created and copied; the macros of
/// ExceptionMacros.hpp make them.
///
/// Creating and copying one never throws: a text for which memory is exhausted is absent, and so is a sub-exception
/// that cannot be cloned.
///
/// @code
/// BLOCXX_DECLARE_EXCEPTION(Parse) // class ParseException, in a header
/// BLOCXX_DEFINE_EXCEPTION(Parse)  // its members, in a source
///
/// BLOCXX_THROW_ERR(ParseException, "unexpected end", 7);
/// @endcode
class BLOCXX_COMMON_API Exception : public std::exception
{
public:
    /// The id of a class that has none of its own.
    static constexpr int UNKNOWN_SUBCLASS_ID = -1;
    /// The code of an exception that has none.
    static constexpr int UNKNOWN_ERROR_CODE = -1;

    ~Exception() noexcept override;

    /// The class's name without its namespace; never null.
    virtual const char* type() const;
    /// The message; never null, empty when there is none.
    virtual const char* getMessage() const;
    /// The same text as getMessage().
    const char* what() const noexcept override;
    /// A new copy that the caller owns, or null when memory is exhausted. A derived class returns its own type.
    virtual Exception* clone() const;
    /// Throws a copy of this exception. A derived class that does not override it is sliced to its base.
    virtual void rethrow() const;

    /// The source file or unit that threw; never null, empty when there is none.
    const char* getFile() const noexcept;
    /// The line in getFile().
    int getLine() const noexcept { return m_line; }
    /// What the thrower gave, an `errno` value or a status in most cases; -1 for none.
    int getErrorCode() const noexcept { return m_errorCode; }
    /// The number of the class in ExceptionIds.hpp; -1 for none.
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
    /// For the constructors of derived classes.
    void setSubClassId(int subClassId) noexcept { m_subClassId = subClassId; }
    /// For the constructors of derived classes.
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

/// @name Exceptions that cannot be delivered
/// They are logged in the error category of component "blocxx.Exception", with `description`, which tells where the
/// exception was caught. What the appender throws passes through.
/// @{
/// One of an unknown type.
BLOCXX_COMMON_API void logErroneousException(const char* description);
/// With what() of the exception.
BLOCXX_COMMON_API void logErroneousException(const char* description, const std::exception& exception);
/// With the text form of the exception.
BLOCXX_COMMON_API void logErroneousException(const char* description, const Exception& exception);
/// @}

namespace ExceptionDetail
{

/// Logs the exception being handled with logErroneousException; to be called inside a handler. Nothing escapes: what
/// the logging itself throws is dropped. Not a cancellation point.
BLOCXX_COMMON_API void logCurrentException(const char* description) noexcept;

/// Writes the record of logErroneousException. At most one of `own` and `standard` is set; both are null for an
/// exception of an unknown type.
using ErroneousExceptionLog = void (*)(const char* description, const Exception* own, const std::exception* standard);

/// Names the function that writes the records; null for none, which is how a process starts. The logging module sets
/// it together with the first appender. Any thread, at any time.
BLOCXX_COMMON_API void setErroneousExceptionLog(ErroneousExceptionLog log) noexcept;

} // namespace ExceptionDetail
} // namespace blocxx

#include "blocxx/ExceptionMacros.hpp" // IWYU pragma: export
