#pragma once

#include "blocxx/CommonFwd.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/Types.hpp"

#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace blocxx
{

/// A text could not be converted to a number; subclass id -37, message `Unable to convert "<text>" into <type>`.
BLOCXX_DECLARE_APIEXCEPTION(StringConversion, BLOCXX_COMMON_API)

/// A string of bytes. Sizes and positions count bytes, NUL is a byte like any other, and nothing looks at an encoding:
/// letters and white space are those of ASCII, whatever the locale. A null C string counts as empty everywhere.
///
/// @code
/// const blocxx::String url("www.example.com:8080");
/// const std::size_t colon = url.indexOf(':');
/// const blocxx::String host = url.substring(0, colon);           // "www.example.com"
/// const blocxx::UInt16 port = url.substring(colon + 1).toUInt16(); // 8080
/// @endcode
///
/// Threads: distinct strings are independent; one string is modified by one thread at a time.
class BLOCXX_COMMON_API String
{
public:
    /// "Not found", and "up to the end" for lengths.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    String() noexcept = default;
    String(const char* text) : m_text(orEmpty(text)) {}
    /// Exactly `length` bytes; empty when `text` is null.
    explicit String(const char* text, std::size_t length) : m_text(orEmpty(text), text == nullptr ? 0 : length) {}
    String(const std::string& text) : m_text(text) {}
    String(std::string&& text) noexcept : m_text(std::move(text)) {}
    /// For a std::string_view alone: what converts to one and to a std::string as well is not left without a choice.
    template <class View, class = std::enable_if_t<std::is_same_v<View, std::string_view>>>
    explicit String(View text) : m_text(text)
    {
    }
    explicit String(char c) : m_text(1, c) {}
    /// @name Decimal numbers
    /// @{
    explicit String(Int32 number);
    explicit String(UInt32 number);
    explicit String(Int64 number);
    explicit String(UInt64 number);
    explicit String(long long number);
    explicit String(unsigned long long number);
    /// @}
    /// @name Numbers with at most 8 or 16 significant digits, as printf's "%.8g" and "%.16g" write them in the C locale
    /// @{
    explicit String(Real32 number);
    explicit String(Real64 number);
    /// @}

    std::size_t length() const noexcept { return m_text.size(); }
    std::size_t size() const noexcept { return m_text.size(); }
    bool empty() const noexcept { return m_text.empty(); }
    /// Terminated, never null; valid until the string changes or goes.
    const char* c_str() const noexcept { return m_text.c_str(); }
    String toString() const { return *this; }
    /// Valid until the string changes or goes.
    operator std::string_view() const noexcept { return m_text; }

    /// @name The bytes, for a range-based for
    /// Valid until the string changes in another way or goes.
    /// @{
    const char* begin() const noexcept { return m_text.data(); }
    const char* end() const noexcept { return m_text.data() + m_text.size(); }
    char* begin() noexcept { return m_text.data(); }
    char* end() noexcept { return m_text.data() + m_text.size(); }
    /// @}

    /// The byte at `index`; NUL at the end and beyond it.
    char charAt(std::size_t index) const noexcept { return index < m_text.size() ? m_text[index] : '\0'; }
    /// The byte at `index`; a NUL at the end and beyond it. Never throws.
    const char& operator[](std::size_t index) const noexcept;
    /// As above; what is written to an index at the end or beyond it is lost.
    char& operator[](std::size_t index) noexcept;

    /// @name Searching forwards
    /// The first match at or after `from`; npos if there is none, and whenever `from` is not inside the string. An
    /// empty text is found at `from`.
    /// @{
    std::size_t indexOf(char c, std::size_t from = 0) const noexcept { return m_text.find(c, from); }
    std::size_t indexOf(const char* text, std::size_t from = 0) const noexcept;
    std::size_t indexOf(const String& text, std::size_t from = 0) const noexcept;
    /// @}

    /// `length` bytes from `begin`, clipped to the end of the string; empty when `begin` is not inside it.
    String substring(std::size_t begin, std::size_t length = npos) const;

    /// Removes white space (blank, \\t, \\n, \\v, \\f, \\r) from both ends.
    String& trim();

    /// Negative, zero or positive, by the values of unsigned bytes; a proper prefix comes first.
    int compareTo(const String& other) const noexcept { return m_text.compare(other.m_text); }
    /// The same with a C string.
    int compareTo(const char* other) const noexcept { return m_text.compare(orEmpty(other)); }
    bool equals(const String& other) const noexcept { return m_text == other.m_text; }
    bool equals(const char* other) const noexcept { return m_text == orEmpty(other); }
    /// Whether the texts differ in nothing but the case of ASCII letters.
    bool equalsIgnoreCase(const String& other) const noexcept
    {
        return length() == other.length() && equalsFolded(other.c_str());
    }
    /// The same with a C string.
    bool equalsIgnoreCase(const char* other) const noexcept
    {
        return length() == std::strlen(orEmpty(other)) && equalsFolded(orEmpty(other));
    }

    bool endsWith(char suffix) const noexcept { return !empty() && m_text.back() == suffix; }

    String& concat(const String& text) { return *this += text; }
    String& concat(const char* text) { return *this += text; }
    String& concat(char c) { return *this += c; }
    String& operator+=(const String& text)
    {
        m_text += text.m_text;
        return *this;
    }
    String& operator+=(const char* text)
    {
        m_text += orEmpty(text);
        return *this;
    }
    String& operator+=(char c)
    {
        m_text += c;
        return *this;
    }

    /// Converts the ASCII letters in place.
    String& toLowerCase() noexcept;

    /// Makes the string empty.
    String& erase() noexcept;

    void swap(String& other) noexcept { m_text.swap(other.m_text); }

    /// The non-empty pieces between the bytes that `delimiters` holds. Null or empty delimiters give the whole text as
    /// one token; an empty text has no token.
    StringArray tokenize(const char* delimiters = " \n\r\t\v") const;

    /// @name Conversion to numbers
    /// The whole text has to be digits of the base: no white space, no prefix, and no sign but a minus in front of what
    /// becomes a signed number. `errno` is left alone.
    /// @param base 2 to 36
    /// @throws StringConversionException for anything else, and for a number that does not fit
    /// @{
    UInt8 toUInt8(int base = 10) const;
    UInt16 toUInt16(int base = 10) const;
    UInt32 toUInt32(int base = 10) const;
    UInt64 toUInt64(int base = 10) const;
    Int8 toInt8(int base = 10) const;
    Int16 toInt16(int base = 10) const;
    Int32 toInt32(int base = 10) const;
    Int64 toInt64(int base = 10) const;
    /// @}

private:
    static const char* orEmpty(const char* text) noexcept { return text == nullptr ? "" : text; }

    /// Whether `other`, which is as long as this string, differs from it in nothing but case.
    bool equalsFolded(const char* other) const noexcept;

    std::string m_text;
};

inline bool operator==(const String& left, const String& right) noexcept
{
    return left.equals(right);
}
inline bool operator==(const String& left, const char* right) noexcept
{
    return left.equals(right);
}
inline bool operator==(const char* left, const String& right) noexcept
{
    return right.equals(left);
}
inline bool operator!=(const String& left, const String& right) noexcept
{
    return !left.equals(right);
}
inline bool operator!=(const String& left, const char* right) noexcept
{
    return !left.equals(right);
}
inline bool operator!=(const char* left, const String& right) noexcept
{
    return !right.equals(left);
}
inline bool operator<(const String& left, const String& right) noexcept
{
    return left.compareTo(right) < 0;
}
inline bool operator<(const String& left, const char* right) noexcept
{
    return left.compareTo(right) < 0;
}
inline bool operator<(const char* left, const String& right) noexcept
{
    return right.compareTo(left) > 0;
}
inline bool operator<=(const String& left, const String& right) noexcept
{
    return left.compareTo(right) <= 0;
}
inline bool operator<=(const String& left, const char* right) noexcept
{
    return left.compareTo(right) <= 0;
}
inline bool operator<=(const char* left, const String& right) noexcept
{
    return right.compareTo(left) >= 0;
}
inline bool operator>(const String& left, const String& right) noexcept
{
    return left.compareTo(right) > 0;
}
inline bool operator>(const String& left, const char* right) noexcept
{
    return left.compareTo(right) > 0;
}
inline bool operator>(const char* left, const String& right) noexcept
{
    return right.compareTo(left) < 0;
}
inline bool operator>=(const String& left, const String& right) noexcept
{
    return left.compareTo(right) >= 0;
}
inline bool operator>=(const String& left, const char* right) noexcept
{
    return left.compareTo(right) >= 0;
}
inline bool operator>=(const char* left, const String& right) noexcept
{
    return right.compareTo(left) <= 0;
}

inline String operator+(String left, const String& right)
{
    return std::move(left += right);
}
inline String operator+(String left, const char* right)
{
    return std::move(left += right);
}
inline String operator+(String left, char right)
{
    return std::move(left += right);
}
inline String operator+(const char* left, const String& right)
{
    return String(left) += right;
}
inline String operator+(char left, const String& right)
{
    return String(left) += right;
}

/// Writes exactly the string's bytes. The stream's width and fill are neither used nor reset.
BLOCXX_COMMON_API std::ostream& operator<<(std::ostream& out, const String& text);

} // namespace blocxx

namespace std
{

/// For unordered containers; the same as the hash of a std::string_view of the bytes.
template <>
struct hash<blocxx::String>
{
    std::size_t operator()(const blocxx::String& text) const noexcept { return std::hash<std::string_view>()(text); }
};

} // namespace std
