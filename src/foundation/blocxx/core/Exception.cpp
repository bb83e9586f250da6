#include "blocxx/Exception.hpp"

#include <cstring>
#include <new>
#include <ostream>
#include <utility>

namespace blocxx
{

namespace
{

/// A clone of `exception` may be made by foreign code; whatever goes wrong there means that there is none.
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
        out << exception.getLine() << ' ';
    }
    out << exception.type() << ": ";
    if (exception.getErrorCode() != Exception::UNKNOWN_ERROR_CODE)
    {
        out << exception.getErrorCode() << ": ";
    }
    out << (*exception.getMessage() == '\0' ? "[no message]" : exception.getMessage());
    if (const Exception* const cause = exception.getSubException())
    {
        out << " <" << *cause << '>';
    }
    return out;
}

} // namespace blocxx
