#include "blocxx/Exception.hpp"

#include "blocxx/internal/CancellationOff.hpp"

#include <atomic>
#include <cstring>
#include <locale>
#include <new>
#include <ostream>
#include <sstream>
#include <utility>

namespace blocxx
{

namespace
{

/// The clone of a derived class may be foreign code; if it throws, the exception has no sub-exception.
const Exception* cloneOrNull(const Exception* exception) noexcept
{
    try
    {
        return exception == nullptr ? nullptr : exception->clone();
    }
    catch (...)
    {
        return nullptr;
    }
}

// Read by threads that drop references, written when the first appender is set.
std::atomic<ExceptionDetail::ErroneousExceptionLog> erroneousExceptionLog{nullptr};

void logErroneous(const char* description, const Exception* own, const std::exception* standard)
{
    if (const ExceptionDetail::ErroneousExceptionLog log = erroneousExceptionLog.load(std::memory_order_acquire))
    {
        log(description, own, standard);
    }
}

/// The number in the stream's base, but never with the digit grouping of its locale.
std::string textOf(int number, const std::ostream& out)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.flags(out.flags());
    text << number;
    return text.str();
}

} // namespace

char* Exception::dupString(const char* text) noexcept
{
    if (text == nullptr)
    {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    char* const copy = new (std::nothrow) char[size];
    if (copy != nullptr)
    {
        std::memcpy(copy, text, size);
    }
    return copy;
}

Exception::Exception(const char* file, int line, const char* msg, int errorCode, const Exception* otherException,
                     int subClassId) noexcept
    : m_file(dupString(file)), m_message(dupString(msg)), m_otherException(cloneOrNull(otherException)), m_line(line),
      m_errorCode(errorCode), m_subClassId(subClassId)
{
}

Exception::Exception(const Exception& other) noexcept
    : std::exception(other), m_file(dupString(other.m_file.get())), m_message(dupString(other.m_message.get())),
      m_otherException(cloneOrNull(other.m_otherException.get())), m_line(other.m_line), m_errorCode(other.m_errorCode),
      m_subClassId(other.m_subClassId)
{
}

Exception::~Exception() noexcept = default;

Exception& Exception::operator=(const Exception& other) noexcept
{
    Exception(other).swap(*this);
    return *this;
}

void Exception::swap(Exception& other) noexcept
{
    m_file.swap(other.m_file);
    m_message.swap(other.m_message);
    m_otherException.swap(other.m_otherException);
    std::swap(m_line, other.m_line);
    std::swap(m_errorCode, other.m_errorCode);
    std::swap(m_subClassId, other.m_subClassId);
}

const char* Exception::type() const
{
    return "Exception";
}

const char* Exception::getMessage() const
{
    return m_message == nullptr ? "" : m_message.get();
}

const char* Exception::what() const noexcept
{
    return getMessage();
}

const char* Exception::getFile() const noexcept
{
    return m_file == nullptr ? "" : m_file.get();
}

Exception* Exception::clone() const
{
    return new (std::nothrow) Exception(*this);
}

void Exception::rethrow() const
{
    throw Exception(*this);
}

std::ostream& operator<<(std::ostream& out, const Exception& exception)
{
    if (*exception.getFile() == '\0')
    {
        out << "[no file]: ";
    }
    else
    {
        out << exception.getFile() << ": ";
    }
    if (exception.getLine() == 0)
    {
        out << "[no line] ";
    }
    else
    {
        out << textOf(exception.getLine(), out) << ' ';
    }
    out << exception.type() << ": ";
    if (exception.getErrorCode() != Exception::UNKNOWN_ERROR_CODE)
    {
        out << textOf(exception.getErrorCode(), out) << ": ";
    }
    out << (*exception.getMessage() == '\0' ? "[no message]" : exception.getMessage());
    if (const Exception* const cause = exception.getSubException())
    {
        out << " <" << *cause << '>';
    }
    return out;
}

void logErroneousException(const char* description)
{
    logErroneous(description, nullptr, nullptr);
}

void logErroneousException(const char* description, const std::exception& exception)
{
    logErroneous(description, nullptr, &exception);
}

void logErroneousException(const char* description, const Exception& exception)
{
    logErroneous(description, &exception, nullptr);
}

void ExceptionDetail::setErroneousExceptionLog(ErroneousExceptionLog log) noexcept
{
    erroneousExceptionLog.store(log, std::memory_order_release);
}

void ExceptionDetail::logCurrentException(const char* description) noexcept
{
    // Appenders write to files: a cancelled thread would be unwound through a function that lets nothing pass.
    const Internal::CancellationOff logging;
    try
    {
        try
        {
            throw;
        }
        catch (const Exception& exception)
        {
            logErroneousException(description, exception);
        }
        catch (const std::exception& exception)
        {
            logErroneousException(description, exception);
        }
        catch (...)
        {
            logErroneousException(description);
        }
    }
    catch (...) // NOLINT(bugprone-empty-catch): the log was the last resort.
    {
    }
}

} // namespace blocxx
