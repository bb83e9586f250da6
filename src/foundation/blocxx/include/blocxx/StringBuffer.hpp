#pragma once

#include "blocxx/String.hpp"
#include "blocxx/Types.hpp"

#include <cstddef>
#include <iosfwd>
#include <string>

namespace blocxx
{

class Bool;

/// A growing buffer of bytes with a terminator after the last one. NUL is a byte like any other; a null C string
/// counts as empty; a buffer can be appended to itself. Copies are deep. Used by one thread at a time.
///
/// @code
/// blocxx::StringBuffer text;
/// text += "port ";
/// text += blocxx::UInt16(8080);
/// const blocxx::String line = text.releaseString();
/// @endcode
class BLOCXX_COMMON_API StringBuffer
{
public:
    /// The bytes that are allocated first unless told otherwise.
    static constexpr std::size_t BLOCXX_DEFAULT_ALLOCATION_UNIT = 128;

    /// @param capacity bytes to make room for, terminator included; 0 means the default
    StringBuffer(std::size_t capacity = BLOCXX_DEFAULT_ALLOCATION_UNIT);
    StringBuffer(const char* text);
    StringBuffer(const String& text);
    StringBuffer(const StringBuffer& other);
    StringBuffer(StringBuffer&& other) noexcept;
    ~StringBuffer() = default;

    /// The old content stays if memory is exhausted.
    StringBuffer& operator=(const StringBuffer& other);
    StringBuffer& operator=(StringBuffer&& other) noexcept;
    StringBuffer& operator=(const String& text) { return *this = StringBuffer(text); }
    StringBuffer& operator=(const char* text) { return *this = StringBuffer(text); }

    void swap(StringBuffer& other) noexcept;

    StringBuffer& append(char c)
    {
        makeRoom(1);
        m_text.push_back(c);
        return *this;
    }
    StringBuffer& append(const char* text);
    /// Exactly `length` bytes; none when `text` is null.
    StringBuffer& append(const char* text, std::size_t length);
    StringBuffer& append(const String& text) { return append(text.c_str(), text.length()); }
    StringBuffer& append(const StringBuffer& other) { return append(other.c_str(), other.length()); }

    StringBuffer& operator+=(char c) { return append(c); }
    StringBuffer& operator+=(const char* text) { return append(text); }
    StringBuffer& operator+=(const String& text) { return append(text); }
    StringBuffer& operator+=(const StringBuffer& other) { return append(other); }
    /// @name Decimal numbers; those of 8 bits are numbers too, and a plain bool is "1" or "0"
    /// @{
    StringBuffer& operator+=(UInt8 number) { return append(String(UInt32{number})); }
    StringBuffer& operator+=(Int8 number) { return append(String(Int32{number})); }
    StringBuffer& operator+=(UInt16 number) { return append(String(UInt32{number})); }
    StringBuffer& operator+=(Int16 number) { return append(String(Int32{number})); }
    StringBuffer& operator+=(UInt32 number) { return append(String(number)); }
    StringBuffer& operator+=(Int32 number) { return append(String(number)); }
    StringBuffer& operator+=(UInt64 number) { return append(String(number)); }
    StringBuffer& operator+=(Int64 number) { return append(String(number)); }
    /// @}
    /// @name Numbers with at most 8 or 16 significant digits
    /// @{
    StringBuffer& operator+=(Real32 number) { return append(String(number)); }
    StringBuffer& operator+=(Real64 number) { return append(String(number)); }
    /// @}
    /// "true" or "false".
    StringBuffer& operator+=(Bool value);

    /// The byte at `index`; NUL at the end and beyond it.
    char operator[](std::size_t index) const noexcept { return index < m_text.size() ? m_text[index] : '\0'; }
    std::size_t length() const noexcept { return m_text.size(); }
    /// The space available, terminator included.
    std::size_t allocated() const noexcept { return m_allocated; }
    /// Terminated, never null; valid until the next change.
    const char* c_str() const noexcept { return m_text.c_str(); }
    String toString() const { return String(m_text); }
    /// Moves the content out. The buffer is empty afterwards and can be used again.
    String releaseString();

    /// Shortens the content to `length` bytes; nothing if it is not longer.
    void truncate(std::size_t length);
    void reset() noexcept { m_text.clear(); }
    /// Removes the last byte, if there is one.
    void chop();
    /// Removes white space at both ends.
    void trim();

    bool startsWith(char c) const noexcept { return !m_text.empty() && m_text.front() == c; }
    bool endsWith(char c) const noexcept { return !m_text.empty() && m_text.back() == c; }
    bool equals(const char* text) const noexcept;
    bool equals(const StringBuffer& other) const noexcept { return m_text == other.m_text; }

    /// Reads the bytes up to the next LF, which is taken and not stored, or up to the end of the input; then cuts the
    /// content at its first CR. At the end of the input sets eofbit, and failbit too if there was no byte left. Reads
    /// nothing from a stream that has failed.
    /// @param resetBuffer false appends the line; the cut at a CR then looks at the old content too
    /// @return c_str()
    const char* getLine(std::istream& input, bool resetBuffer = true);

private:
    /// Capacity is the one that users see: `count` more bytes fit in when the terminator still has its place, else it
    /// grows to twice its size and `count`.
    void makeRoom(std::size_t count)
    {
        if (count > m_allocated - (m_text.size() + 1))
        {
            grow(count);
        }
    }
    void grow(std::size_t count);

    std::string m_text;
    std::size_t m_allocated;
};

inline bool operator==(const StringBuffer& left, const StringBuffer& right) noexcept
{
    return left.equals(right);
}
inline bool operator!=(const StringBuffer& left, const StringBuffer& right) noexcept
{
    return !left.equals(right);
}
BLOCXX_COMMON_API bool operator==(const StringBuffer& left, const String& right) noexcept;
inline bool operator==(const String& left, const StringBuffer& right) noexcept
{
    return right == left;
}
inline bool operator!=(const StringBuffer& left, const String& right) noexcept
{
    return !(left == right);
}
inline bool operator!=(const String& left, const StringBuffer& right) noexcept
{
    return !(right == left);
}

/// Writes exactly the buffer's bytes. The stream's width and fill are neither used nor reset.
BLOCXX_COMMON_API std::ostream& operator<<(std::ostream& out, const StringBuffer& buffer);

} // namespace blocxx
