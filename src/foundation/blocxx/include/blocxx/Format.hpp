#pragma once

#include "blocxx/String.hpp"

#include <cstddef>
#include <iosfwd>
#include <ostream>
#include <type_traits>

namespace blocxx
{

namespace FormatDetail
{

/// What a placeholder's width and fill do to an argument.
enum class Padding
{
    None,   ///< nothing: the text is left as it is
    Blanks, ///< the whole text is padded with blanks
    Stream  ///< the stream pads it, with zeros if those are asked for
};

/// One argument of a format text, seen through a pointer.
struct Argument
{
    const void* value;
    void (*insert)(std::ostream& out, const void* value);
    Padding padding;
};

template <class T>
inline constexpr bool IS_TEXT = std::is_same_v<std::decay_t<T>, const char*> || std::is_same_v<std::decay_t<T>, char*>;

template <class T>
constexpr Padding paddingOf()
{
    if constexpr (std::is_same_v<T, String>)
    {
        return Padding::None;
    }
    else if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, signed char>)
    {
        return Padding::Stream;
    }
    else
    {
        return Padding::Blanks;
    }
}

/// Enumerations are printed as numbers, and pointers as addresses whatever they point to.
template <class T>
void insert(std::ostream& out, const void* value)
{
    const T& argument = *static_cast<const T*>(value);
    if constexpr (std::is_enum_v<T>)
    {
        out << +static_cast<std::underlying_type_t<T>>(argument);
    }
    else if constexpr (std::is_pointer_v<T>)
    {
        out << static_cast<const void*>(argument);
    }
    else
    {
        out << argument;
    }
}

/// A null C string prints nothing.
BLOCXX_COMMON_API void insertText(std::ostream& out, const void* value);

template <class T>
Argument argumentOf(const T& argument) noexcept
{
    if constexpr (IS_TEXT<T>)
    {
        return {argument, &insertText, Padding::Blanks};
    }
    else
    {
        return {&argument, &insert<T>, paddingOf<T>()};
    }
}

} // namespace FormatDetail

/// A text made of a format text and up to nine arguments of any printable types. It is complete when the constructor
/// returns.
///
/// - `%%` is a percent sign, `%1` to `%9` are the arguments (one digit: `%12` is argument 1 and a "2").
/// - `%<N>` or `%<N:modifiers>` is argument N. Modifiers, each optional, in this order:
///   width (`-` left-justifies, `+` shows the sign of a number, a first digit 0 fills numbers with zeros in front of
///   the sign), precision (`.` and digits: fixed notation), base (`x`, `X`, `o`), and `!` (shows the base's prefix,
///   prints bool as a word).
///
/// A String ignores the width; everything but characters and numbers is padded with blanks, as a whole. A null C string
/// prints nothing. Numbers are written as in the C locale, whatever the global one.
///
/// A mistake in the format text never throws: the output so far is kept, a description of the mistake is appended, and
/// the rest of the format text is dropped. What an argument's own `operator<<` throws comes out of the constructor.
///
/// @code
/// const blocxx::String text = blocxx::Format("%1 of %2 (%<3:.1>%%)", 5, "seven", 71.43); // "5 of seven (71.4%)"
/// @endcode
class BLOCXX_COMMON_API Format
{
public:
    /// The placeholders are %1 to %9.
    static constexpr std::size_t MAX_ARGUMENTS = 9;

    /// @param format null counts as empty
    template <class First, class... Rest>
    Format(const char* format, const First& first, const Rest&... rest)
    {
        static_assert(sizeof...(Rest) < MAX_ARGUMENTS, "a format text has at most nine arguments");
        const FormatDetail::Argument arguments[] = {FormatDetail::argumentOf(first), FormatDetail::argumentOf(rest)...};
        m_text = build(format, arguments, 1 + sizeof...(Rest));
    }

    Format(const Format&) = default;
    Format& operator=(const Format&) = default;
    virtual ~Format();

    /// The text.
    operator String() const { return m_text; }
    /// The text.
    String toString() const { return m_text; }
    /// Valid as long as this object lives.
    const char* c_str() const noexcept { return m_text.c_str(); }

private:
    friend BLOCXX_COMMON_API std::ostream& operator<<(std::ostream& out, const Format& format);

    static String build(const char* format, const FormatDetail::Argument* arguments, std::size_t count);

    String m_text;
};

/// Writes exactly the text's bytes. The stream's width and fill are neither used nor reset.
BLOCXX_COMMON_API std::ostream& operator<<(std::ostream& out, const Format& format);

} // namespace blocxx
