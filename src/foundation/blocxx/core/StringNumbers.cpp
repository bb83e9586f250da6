#include "core/Ascii.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/String.hpp"

#include <charconv>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(StringConversion)

namespace
{

constexpr int MIN_BASE = 2;
constexpr int MAX_BASE = 36;

template <class Number>
std::string decimal(Number number)
{
    char digits[std::numeric_limits<Number>::digits10 + 2];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return std::string(digits, end);
}

/// The value of `digits` if all of it is digits of the base and the value fits.
template <class Number>
std::optional<Number> parseDigits(std::string_view digits, int base) noexcept
{
    static_assert(std::is_unsigned_v<Number>, "std::from_chars takes a sign for signed types");
    Number number{};
    const char* const end = digits.data() + digits.size();
    if (base < MIN_BASE || base > MAX_BASE)
    {
        return std::nullopt;
    }
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    return error == std::errc() && stop == end ? std::optional<Number>(number) : std::nullopt;
}

/// Removes the prefix that stands for the base, and answers the base.
int takePrefix(std::string_view& digits, int base) noexcept
{
    if (base != 0 && base != 16)
    {
        return base;
    }
    if (digits.size() >= 2 && digits[0] == '0' && Ascii::toLower(digits[1]) == 'x')
    {
        digits.remove_prefix(2);
        return 16;
    }
    if (base == 16)
    {
        return base;
    }
    return !digits.empty() && digits.front() == '0' ? 8 : 10;
}

template <class Number>
std::optional<Number> parseSigned(std::string_view text, int base) noexcept
{
    while (!text.empty() && Ascii::isSpace(text.front()))
    {
        text.remove_prefix(1);
    }
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+'))
    {
        text.remove_prefix(1);
    }
    const int actualBase = takePrefix(text, base);
    const std::optional<UInt64> magnitude = parseDigits<UInt64>(text, actualBase);
    const UInt64 limit = static_cast<UInt64>(std::numeric_limits<Number>::max()) + (negative ? 1 : 0);
    if (!magnitude || *magnitude > limit)
    {
        return std::nullopt;
    }
    return static_cast<Number>(negative ? 0 - *magnitude : *magnitude);
}

[[noreturn]] void throwNotConvertible(const String& text, const char* type)
{
    BLOCXX_THROW(StringConversionException, Format("Unable to convert \"%1\" into %2", text, type).c_str());
}

template <class Number>
Number toUnsigned(const String& text, int base, const char* type)
{
    const auto number = parseDigits<Number>({text.c_str(), text.length()}, base);
    if (!number)
    {
        throwNotConvertible(text, type);
    }
    return *number;
}

template <class Number>
Number toSigned(const String& text, int base, const char* type)
{
    const auto number = parseSigned<Number>({text.c_str(), text.length()}, base);
    if (!number)
    {
        throwNotConvertible(text, type);
    }
    return *number;
}

} // namespace

String::String(Int32 number) : m_text(decimal(number)) {}
String::String(UInt32 number) : m_text(decimal(number)) {}
String::String(Int64 number) : m_text(decimal(number)) {}
String::String(UInt64 number) : m_text(decimal(number)) {}

UInt8 String::toUInt8(int base) const
{
    return toUnsigned<UInt8>(*this, base, "UInt8");
}

Int8 String::toInt8(int base) const
{
    return toSigned<Int8>(*this, base, "Int8");
}

UInt16 String::toUInt16(int base) const
{
    return toUnsigned<UInt16>(*this, base, "UInt16");
}

Int16 String::toInt16(int base) const
{
    return toSigned<Int16>(*this, base, "Int16");
}

UInt32 String::toUInt32(int base) const
{
    return toUnsigned<UInt32>(*this, base, "UInt32");
}

Int32 String::toInt32(int base) const
{
    return toSigned<Int32>(*this, base, "Int32");
}

UInt64 String::toUInt64(int base) const
{
    return toUnsigned<UInt64>(*this, base, "UInt64");
}

Int64 String::toInt64(int base) const
{
    return toSigned<Int64>(*this, base, "Int64");
}

unsigned int String::toUnsignedInt(int base) const
{
    return toUnsigned<unsigned int>(*this, base, "unsigned int");
}

int String::toInt(int base) const
{
    return toSigned<int>(*this, base, "int");
}

bool String::toBool() const
{
    const bool isTrue = equalsIgnoreCase("true");
    if (!isTrue && !equalsIgnoreCase("false"))
    {
        throwNotConvertible(*this, "bool");
    }
    return isTrue;
}

} // namespace blocxx
