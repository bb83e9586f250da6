#pragma once

#include "blocxx/CommonFwd.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/Types.hpp"

#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <string>
#include <utility>

namespace blocxx
{

/// A text could not be converted to a number; subclass id -37, message `Unable to convert "<text>" into <type>`.
BLOCXX_DECLARE_APIEXCEPTION(StringConversion, BLOCXX_COMMON_API)

/// A string of bytes. Sizes and positions count bytes, NUL is a byte like any other, and nothing looks at an encoding:
/// letters and white space are those of ASCII, whatever the locale. A null C string counts as empty everywhere.
///
/// Threads: distinct strings are independent; one string is modified by one thread at a time.
class BLOCXX_COMMON_API String
{
public:
    /// "Not found", and "up to the end" for lengths.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    enum EIgnoreCaseFlag
    {
        E_CASE_SENSITIVE,
        E_CASE_INSENSITIVE
    };
    enum EReturnDelimitersFlag
    {
        E_DISCARD_DELIMITERS,
        E_RETURN_DELIMITERS
    };
    enum EEmptyTokenReturnFlag
    {
        E_SKIP_EMPTY_TOKENS,
        E_RETURN_EMPTY_TOKENS
    };

    String() noexcept = default;
    String(const char* text) : m_text(orEmpty(text)) {}
    /// Exactly `length` bytes; empty when `text` is null.
    explicit String(const char* text, std::size_t length) : m_text(orEmpty(text), text == nullptr ? 0 : length) {}
    String(const std::string& text) : m_text(text) {}
    String(std::string&& text) noexcept : m_text(std::move(text)) {}
    explicit String(char c) : m_text(1, c) {}
    /// @name Decimal numbers
    /// @{
    explicit String(Int32 number);
    explicit String(UInt32 number);
    explicit String(Int64 number);
    explicit String(UInt64 number);
    /// @}

    std::size_t length() const noexcept { return m_text.size(); }
    std::size_t size() const noexcept { return m_text.size(); }
    bool empty() const noexcept { return m_text.empty(); }
    /// Terminated, never null; valid until the string changes or goes.
    const char* c_str() const noexcept { return m_text.c_str(); }
    String toString() const { return *this; }

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

    /// The last `c` at or before `from`; npos if there is none, and if `from` is not npos and not inside the string.
    std::size_t lastIndexOf(char c, std::size_t from = npos) const noexcept;
    /// @name Searching backwards for a text
    /// The start of the last match whose last byte is at or before `from`, which is clipped to the last byte; npos if
    /// there is none. An empty text is found behind `from`, but not in an empty string.
    /// @{
    std::size_t lastIndexOf(const char* text, std::size_t from = npos) const noexcept;
    std::size_t lastIndexOf(const String& text, std::size_t from = npos) const noexcept;
    /// @}

    /// `length` bytes from `begin`, clipped to the end of the string; empty when `begin` is not inside it.
    String substring(std::size_t begin, std::size_t length = npos) const;

    /// @name Trimming of white space: blank, \\t, \\n, \\v, \\f, \\r
    /// @{
    String& trim();
    String& ltrim();
    String& rtrim();
    /// True if there is nothing but white space, and for the empty string.
    bool isSpaces() const noexcept;
    /// @}

    /// Negative, zero or positive, by the values of unsigned bytes; a proper prefix comes first.
    int compareTo(const String& other) const noexcept { return m_text.compare(other.m_text); }
    int compareTo(const char* other) const noexcept { return m_text.compare(orEmpty(other)); }
    bool equals(const String& other) const noexcept { return m_text == other.m_text; }
    bool equals(const char* other) const noexcept { return m_text == orEmpty(other); }
    bool equalsIgnoreCase(const String& other) const noexcept
    {
        return length() == other.length() && equalsFolded(other.c_str());
    }
    bool equalsIgnoreCase(const char* other) const noexcept
    {
        return length() == std::strlen(orEmpty(other)) && equalsFolded(orEmpty(other));
    }
    /// Zero exactly when equalsIgnoreCase. Otherwise the difference of the two bytes of the first mismatch as they
    /// stand, a missing one counting as 0: that is not an ordering.
    int compareToIgnoreCase(const String& other) const noexcept;
    int compareToIgnoreCase(const char* other) const noexcept;

    /// Always true for an empty prefix.
    bool startsWith(const String& prefix, EIgnoreCaseFlag flag = E_CASE_SENSITIVE) const noexcept;
    bool startsWith(const char* prefix, EIgnoreCaseFlag flag = E_CASE_SENSITIVE) const noexcept;
    bool startsWith(char prefix) const noexcept { return !empty() && m_text.front() == prefix; }
    /// True for an empty suffix only if the string itself is empty.
    bool endsWith(const String& suffix, EIgnoreCaseFlag flag = E_CASE_SENSITIVE) const noexcept;
    bool endsWith(const char* suffix, EIgnoreCaseFlag flag = E_CASE_SENSITIVE) const noexcept;
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

    /// Convert the ASCII letters in place.
    String& toLowerCase() noexcept;
    String& toUpperCase() noexcept;

    String& erase() noexcept;
    /// Removes up to `length` bytes from `index`; nothing when `index` is not inside the string.
    String& erase(std::size_t index, std::size_t length = npos);

    void swap(String& other) noexcept { m_text.swap(other.m_text); }

    /// Cuts the text at every byte that `delimiters` holds; null or empty delimiters give the whole text as one token,
    /// an empty text gives none. With E_RETURN_DELIMITERS each delimiter is a token too. With E_RETURN_EMPTY_TOKENS an
    /// empty token stands for each delimiter directly behind another and for one at the end, but none for one at the
    /// start.
    StringArray tokenize(const char* delimiters = " \n\r\t\v",
                         EReturnDelimitersFlag returnDelimiters = E_DISCARD_DELIMITERS,
                         EEmptyTokenReturnFlag returnEmptyTokens = E_SKIP_EMPTY_TOKENS) const;

    /// @name Conversion to numbers
    /// The whole text has to be the number. Unsigned ones are digits of the base and nothing else: no sign, no white
    /// space, no prefix. Signed ones may have leading white space, a sign, and a prefix "0x" in base 16; base 0 takes
    /// the base from the prefix ("0x", "0", or none). `errno` is left alone.
    /// @param base 2 to 36
    /// @throws StringConversionException for anything else, and for a number that does not fit
    /// @{
    UInt8 toUInt8(int base = 10) const;
    Int8 toInt8(int base = 10) const;
    UInt16 toUInt16(int base = 10) const;
    Int16 toInt16(int base = 10) const;
    UInt32 toUInt32(int base = 10) const;
    Int32 toInt32(int base = 10) const;
    UInt64 toUInt64(int base = 10) const;
    Int64 toInt64(int base = 10) const;
    unsigned int toUnsignedInt(int base = 10) const;
    int toInt(int base = 10) const;
    /// @}

    /// "true" or "false" in any case.
    /// @throws StringConversionException for anything else
    bool toBool() const;

    /// The bytes up to the next LF, which is taken and not stored, or up to the end of the input; then cut at the first
    /// CR anywhere in it. At the end of the input sets eofbit, and failbit too if there was no byte left. Reads nothing
    /// from a stream that has failed.
    static String getLine(std::istream& input);

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
