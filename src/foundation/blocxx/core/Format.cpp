#include "blocxx/Format.hpp"

#include <algorithm>
#include <cstring>
#include <locale>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <utility>

namespace blocxx
{

namespace
{

// More than any text needs; a format text cannot ask for gigabytes of padding.
constexpr UInt64 MAX_WIDTH = 65535;
constexpr UInt64 MAX_PRECISION = 1000;
constexpr UInt64 MAX_ARGUMENT_NUMBER = 1000000000;
constexpr int DEFAULT_PRECISION = 6;

/// What is between a percent sign and the end of its placeholder.
struct Placeholder
{
    UInt64 argument = 0;
    std::ios_base::fmtflags flags = std::ios_base::dec;
    std::size_t width = 0;
    int precision = DEFAULT_PRECISION;
    char fill = ' ';
};

bool isDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

/// Reads one placeholder, starting after its percent sign:
///
///     placeholder = DIGIT / "<" 1*DIGIT [ ":" modifiers ] ">"
///     modifiers   = [ width ] [ "." 1*DIGIT ] [ "x" / "X" / "o" ] [ "!" ]
///     width       = [ "-" / "+" ] 1*DIGIT
///
/// After a failure position() is the first character that could not be accepted.
class PlaceholderParser
{
public:
    /// @param position after the percent sign
    explicit PlaceholderParser(const char* position) noexcept : m_position(position) {}

    const char* position() const noexcept { return m_position; }

    std::optional<Placeholder> parse() noexcept
    {
        if (isDigit(*m_position))
        {
            // Deliberate: one digit only, so that "%12" is argument 1 and a "2".
            m_placeholder.argument = static_cast<UInt64>(*m_position++ - '0');
            return m_placeholder;
        }
        return take('<') && parseBracketed() ? std::optional<Placeholder>(m_placeholder) : std::nullopt;
    }

private:
    bool parseBracketed() noexcept
    {
        // A negative number is read to the end of its placeholder before it is refused.
        const bool negative = *m_position == '-' && isDigit(m_position[1]);
        m_position += negative ? 1 : 0;
        if (!isDigit(*m_position))
        {
            return false;
        }
        m_placeholder.argument = takeNumber(MAX_ARGUMENT_NUMBER);
        if (take(':'))
        {
            parseModifiers();
        }
        return take('>') && !negative;
    }

    void parseModifiers() noexcept
    {
        parseWidth();
        if (*m_position == '.' && isDigit(m_position[1]))
        {
            ++m_position;
            m_placeholder.flags |= std::ios_base::fixed | std::ios_base::showpoint;
            m_placeholder.precision = static_cast<int>(takeNumber(MAX_PRECISION));
        }
        parseBase();
        if (take('!'))
        {
            m_placeholder.flags |= std::ios_base::showbase | std::ios_base::boolalpha;
        }
    }

    void parseWidth() noexcept
    {
        const bool left = *m_position == '-';
        const bool plus = *m_position == '+';
        const char* const digits = m_position + (left || plus ? 1 : 0);
        if (!isDigit(*digits))
        {
            return;
        }
        m_position = digits;
        m_placeholder.flags |= left ? std::ios_base::left : std::ios_base::right;
        if (plus)
        {
            m_placeholder.flags |= std::ios_base::showpos;
        }
        if (*digits == '0' && !left)
        {
            m_placeholder.fill = '0';
        }
        m_placeholder.width = takeNumber(MAX_WIDTH);
    }

    void parseBase() noexcept
    {
        if (take('x'))
        {
            setBase(std::ios_base::hex);
        }
        else if (take('X'))
        {
            setBase(std::ios_base::hex | std::ios_base::uppercase);
        }
        else if (take('o'))
        {
            setBase(std::ios_base::oct);
        }
    }

    void setBase(std::ios_base::fmtflags base) noexcept
    {
        m_placeholder.flags = (m_placeholder.flags & ~std::ios_base::basefield) | base;
    }

    bool take(char c) noexcept
    {
        const bool taken = *m_position == c;
        m_position += taken ? 1 : 0;
        return taken;
    }

    UInt64 takeNumber(UInt64 limit) noexcept
    {
        UInt64 number = 0;
        for (; isDigit(*m_position); ++m_position)
        {
            number = std::min(limit, number * 10 + static_cast<UInt64>(*m_position - '0'));
        }
        return number;
    }

    const char* m_position;
    Placeholder m_placeholder;
};

/// Appends what is written to a string that it does not own.
class AppendingBuffer : public std::streambuf
{
public:
    explicit AppendingBuffer(std::string& text) : m_text(text) {}

protected:
    int_type overflow(int_type c) override
    {
        if (!traits_type::eq_int_type(c, traits_type::eof()))
        {
            m_text.push_back(traits_type::to_char_type(c));
        }
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(const char* data, std::streamsize count) override
    {
        m_text.append(data, static_cast<std::size_t>(count));
        return count;
    }

private:
    std::string& m_text;
};

class Formatter
{
public:
    Formatter(const FormatDetail::Argument* arguments, std::size_t count)
        : m_arguments(arguments), m_count(count), m_buffer(m_text), m_out(&m_buffer)
    {
        m_out.imbue(std::locale::classic());
    }

    std::string run(const char* format)
    {
        while (const char* const percent = std::strchr(format, '%'))
        {
            m_text.append(format, percent);
            format = percent + 1;
            if (*format == '%')
            {
                m_text.push_back('%');
                ++format;
                continue;
            }
            PlaceholderParser parser(format);
            const std::optional<Placeholder> placeholder = parser.parse();
            if (!placeholder)
            {
                appendError(percent, parser.position() + (*parser.position() == '\0' ? 0 : 1));
                return std::move(m_text);
            }
            format = parser.position();
            if (placeholder->argument == 0 || placeholder->argument > m_count)
            {
                appendArgumentError(placeholder->argument);
                appendError(percent, format);
                return std::move(m_text);
            }
            appendArgument(m_arguments[placeholder->argument - 1], *placeholder);
        }
        m_text.append(format);
        return std::move(m_text);
    }

private:
    void appendArgument(const FormatDetail::Argument& argument, const Placeholder& placeholder)
    {
        const bool streamPads = argument.padding == FormatDetail::Padding::Stream;
        m_out.clear();
        m_out.flags(placeholder.flags);
        m_out.precision(placeholder.precision);
        m_out.fill(streamPads ? placeholder.fill : ' ');
        m_out.width(streamPads ? static_cast<std::streamsize>(placeholder.width) : 0);
        const std::size_t begin = m_text.size();
        argument.insert(m_out, argument.value);
        if (argument.padding == FormatDetail::Padding::Blanks)
        {
            padWithBlanks(begin, placeholder);
        }
    }

    void padWithBlanks(std::size_t begin, const Placeholder& placeholder)
    {
        const std::size_t written = m_text.size() - begin;
        if (written < placeholder.width)
        {
            const bool left = (placeholder.flags & std::ios_base::left) != 0;
            m_text.insert(left ? m_text.size() : begin, placeholder.width - written, ' ');
        }
    }

    void appendArgumentError(UInt64 number)
    {
        const String specifier(number);
        m_text.append("\n*** Parameter specifier ").append(specifier.c_str());
        if (number == 0)
        {
            m_text.append(" must be >= 1");
        }
        else
        {
            m_text.append(" is too large (>").append(std::to_string(m_count)).append(")");
        }
    }

    void appendError(const char* begin, const char* end)
    {
        m_text.append("\n*** Error in format string at \"").append(begin, end).append("\"\n");
    }

    const FormatDetail::Argument* m_arguments;
    std::size_t m_count;
    std::string m_text;
    AppendingBuffer m_buffer;
    std::ostream m_out;
};

} // namespace

void FormatDetail::insertText(std::ostream& out, const void* value)
{
    if (value != nullptr)
    {
        out << static_cast<const char*>(value);
    }
}

Format::~Format() = default;

String Format::build(const char* format, const FormatDetail::Argument* arguments, std::size_t count)
{
    return format == nullptr ? String() : String(Formatter(arguments, count).run(format));
}

std::ostream& operator<<(std::ostream& out, const Format& format)
{
    return out << format.m_text;
}

} // namespace blocxx
