#include "blocxx/String.hpp"

#include "core/Ascii.hpp"

#include "blocxx/Array.hpp"

#include <algorithm>
#include <charconv>
#include <ostream>
#include <string_view>

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(StringConversion)

namespace
{

constexpr int MIN_BASE = 2;
constexpr int MAX_BASE = 36;
constexpr int REAL32_DIGITS = 8;
constexpr int REAL64_DIGITS = 16;

bool equalFolded(std::string_view left, std::string_view right) noexcept
{
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [](char l, char r) { return l == r || Ascii::toLower(l) == Ascii::toLower(r); });
}

std::size_t findFirst(const std::string& text, std::string_view wanted, std::size_t from) noexcept
{
    return from >= text.size() ? String::npos : text.find(wanted, from);
}

std::string_view viewOf(const char* text) noexcept
{
    return text == nullptr ? std::string_view() : std::string_view(text);
}

/// std::to_chars depends on no locale, neither C's nor C++'s.
template <class Real>
std::string realText(Real number, int digits)
{
    char text[32]; // 16 digits, a sign, a point and an exponent
    const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::general, digits).ptr;
    return std::string(text, end);
}

template <class Number>
Number toNumber(const std::string& text, int base, const char* type)
{
    Number number{};
    const char* const end = text.data() + text.size();
    if (base >= MIN_BASE && base <= MAX_BASE)
    {
        const auto [stop, error] = std::from_chars(text.data(), end, number, base);
        if (error == std::errc() && stop == end)
        {
            return number;
        }
    }
    const std::string message = "Unable to convert \"" + text + "\" into " + type;
    throw StringConversionException("String", __LINE__, message.c_str());
}

} // namespace

String::String(Int32 number) : m_text(std::to_string(number)) {}
String::String(UInt32 number) : m_text(std::to_string(number)) {}
String::String(Int64 number) : m_text(std::to_string(number)) {}
String::String(UInt64 number) : m_text(std::to_string(number)) {}
String::String(long long number) : m_text(std::to_string(number)) {}
String::String(unsigned long long number) : m_text(std::to_string(number)) {}
String::String(Real32 number) : m_text(realText(number, REAL32_DIGITS)) {}
String::String(Real64 number) : m_text(realText(number, REAL64_DIGITS)) {}

const char& String::operator[](std::size_t index) const noexcept
{
    static const char BEYOND = '\0';
    return index <= m_text.size() ? m_text.data()[index] : BEYOND;
}

char& String::operator[](std::size_t index) noexcept
{
    if (index < m_text.size())
    {
        return m_text[index];
    }
    // One for each thread, and fresh for each caller, so that nothing written here is ever read elsewhere.
    thread_local char beyond;
    beyond = '\0';
    return beyond;
}

std::size_t String::indexOf(const char* text, std::size_t from) const noexcept
{
    return findFirst(m_text, viewOf(text), from);
}

std::size_t String::indexOf(const String& text, std::size_t from) const noexcept
{
    return findFirst(m_text, text.m_text, from);
}

String String::substring(std::size_t begin, std::size_t length) const
{
    return begin >= m_text.size() ? String() : String(m_text.data() + begin, std::min(length, m_text.size() - begin));
}

String& String::trim()
{
    m_text.erase(std::find_if_not(m_text.rbegin(), m_text.rend(), Ascii::isSpace).base(), m_text.end());
    m_text.erase(m_text.begin(), std::find_if_not(m_text.begin(), m_text.end(), Ascii::isSpace));
    return *this;
}

bool String::equalsFolded(const char* other) const noexcept
{
    return equalFolded(m_text, std::string_view(other, m_text.size()));
}

String& String::toLowerCase() noexcept
{
    std::transform(m_text.begin(), m_text.end(), m_text.begin(), Ascii::toLower);
    return *this;
}

String& String::erase() noexcept
{
    m_text.clear();
    return *this;
}

StringArray String::tokenize(const char* delimiters) const
{
    StringArray tokens;
    const std::string_view separators = viewOf(delimiters);
    const std::string_view text = m_text;
    for (std::size_t begin = 0; begin < text.size();)
    {
        const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
        if (end > begin)
        {
            tokens.push_back(substring(begin, end - begin));
        }
        begin = end + 1;
    }
    return tokens;
}

UInt8 String::toUInt8(int base) const
{
    return toNumber<UInt8>(m_text, base, "UInt8");
}

UInt16 String::toUInt16(int base) const
{
    return toNumber<UInt16>(m_text, base, "UInt16");
}

UInt32 String::toUInt32(int base) const
{
    return toNumber<UInt32>(m_text, base, "UInt32");
}

UInt64 String::toUInt64(int base) const
{
    return toNumber<UInt64>(m_text, base, "UInt64");
}

Int8 String::toInt8(int base) const
{
    return toNumber<Int8>(m_text, base, "Int8");
}

Int16 String::toInt16(int base) const
{
    return toNumber<Int16>(m_text, base, "Int16");
}

Int32 String::toInt32(int base) const
{
    return toNumber<Int32>(m_text, base, "Int32");
}

Int64 String::toInt64(int base) const
{
    return toNumber<Int64>(m_text, base, "Int64");
}

std::ostream& operator<<(std::ostream& out, const String& text)
{
    return out.write(text.c_str(), static_cast<std::streamsize>(text.length()));
}

} // namespace blocxx
