#include "blocxx/StringBuffer.hpp"

#include "core/Ascii.hpp"
#include "core/LineInput.hpp"

#include "blocxx/Bool.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace blocxx
{

StringBuffer::StringBuffer(std::size_t capacity)
    : m_allocated(capacity == 0 ? BLOCXX_DEFAULT_ALLOCATION_UNIT : capacity)
{
    m_text.reserve(m_allocated - 1);
}

StringBuffer::StringBuffer(const char* text) : StringBuffer(String(text)) {}

StringBuffer::StringBuffer(const String& text) : StringBuffer(text.length() + BLOCXX_DEFAULT_ALLOCATION_UNIT)
{
    append(text);
}

StringBuffer::StringBuffer(const StringBuffer& other) : StringBuffer(other.m_allocated)
{
    m_text.append(other.m_text);
}

StringBuffer::StringBuffer(StringBuffer&& other) noexcept
    : m_text(std::move(other.m_text)), m_allocated(std::exchange(other.m_allocated, 1))
{
    other.m_text.clear();
}

StringBuffer& StringBuffer::operator=(const StringBuffer& other)
{
    StringBuffer(other).swap(*this);
    return *this;
}

StringBuffer& StringBuffer::operator=(StringBuffer&& other) noexcept
{
    StringBuffer(std::move(other)).swap(*this);
    return *this;
}

void StringBuffer::swap(StringBuffer& other) noexcept
{
    m_text.swap(other.m_text);
    std::swap(m_allocated, other.m_allocated);
}

void StringBuffer::grow(std::size_t count)
{
    if (count > m_text.max_size() / 2)
    {
        throw std::length_error("StringBuffer"); // Doubling must not wrap around.
    }
    const std::size_t wanted = 2 * m_allocated + count;
    m_text.reserve(wanted - 1);
    m_allocated = wanted;
}

StringBuffer& StringBuffer::append(const char* text)
{
    return append(text, text == nullptr ? 0 : std::strlen(text));
}

StringBuffer& StringBuffer::append(const char* text, std::size_t length)
{
    if (text == nullptr)
    {
        return *this;
    }
    // Growing frees the bytes if they are in this buffer.
    const char* const begin = m_text.data();
    const std::less_equal<const char*> notAfter;
    const bool isOwn = notAfter(begin, text) && notAfter(text, begin + m_text.size());
    const std::ptrdiff_t offset = isOwn ? text - begin : 0;
    makeRoom(length + 1);
    m_text.append(isOwn ? m_text.data() + offset : text, length);
    return *this;
}

StringBuffer& StringBuffer::operator+=(Bool value)
{
    return append(value.toString());
}

String StringBuffer::releaseString()
{
    String released(std::move(m_text));
    m_text.clear();
    m_allocated = 1;
    return released;
}

void StringBuffer::truncate(std::size_t length)
{
    if (length < m_text.size())
    {
        m_text.resize(length);
    }
}

void StringBuffer::chop()
{
    if (!m_text.empty())
    {
        m_text.pop_back();
    }
}

void StringBuffer::trim()
{
    m_text.erase(std::find_if_not(m_text.rbegin(), m_text.rend(), Ascii::isSpace).base(), m_text.end());
    m_text.erase(m_text.begin(), std::find_if_not(m_text.begin(), m_text.end(), Ascii::isSpace));
}

bool StringBuffer::equals(const char* text) const noexcept
{
    return m_text == (text == nullptr ? "" : text);
}

const char* StringBuffer::getLine(std::istream& input, bool resetBuffer)
{
    if (resetBuffer)
    {
        reset();
    }
    readLine(input, m_text);
    m_allocated = std::max(m_allocated, m_text.size() + 1);
    return c_str();
}

bool operator==(const StringBuffer& left, const String& right) noexcept
{
    return left.length() == right.length() && std::memcmp(left.c_str(), right.c_str(), left.length()) == 0;
}

std::ostream& operator<<(std::ostream& out, const StringBuffer& buffer)
{
    return out.write(buffer.c_str(), static_cast<std::streamsize>(buffer.length()));
}

} // namespace blocxx
