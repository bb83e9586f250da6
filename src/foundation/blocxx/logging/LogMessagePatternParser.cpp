#include "logging/LogMessagePatternParser.hpp"

#include "blocxx/Format.hpp"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace blocxx
{

namespace
{

// More than any sensible width, less than anything that overflows or exhausts memory.
constexpr std::size_t GREATEST_NUMBER = 65535;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string strftimeFormat(const std::string& option)
{
    if (option.empty() || strcasecmp(option.c_str(), "ISO8601") == 0)
    {
        return "%Y-%m-%d %H:%M:%S,%Q";
    }
    if (strcasecmp(option.c_str(), "ABSOLUTE") == 0)
    {
        return "%H:%M:%S,%Q";
    }
    if (strcasecmp(option.c_str(), "DATE") == 0)
    {
        return "%d %b %Y %H:%M:%S,%Q";
    }
    return option;
}

} // namespace

std::vector<LogMessagePatternPiece> LogMessagePatternParser::parse()
{
    while (!atEnd())
    {
        if (skip('%'))
        {
            parsePercent();
        }
        else if (skip('\\'))
        {
            parseEscape();
        }
        else
        {
            addLiteral({&m_pattern[m_position++], 1});
        }
    }
    return std::move(m_pieces);
}

bool LogMessagePatternParser::skip(char c)
{
    if (atEnd() || peek() != c)
    {
        return false;
    }
    ++m_position;
    return true;
}

void LogMessagePatternParser::parseEscape()
{
    constexpr std::string_view NAMES = "nrt\\";
    constexpr std::string_view MEANINGS = "\n\r\t\\";
    if (skip('x'))
    {
        parseHexadecimal();
        return;
    }
    const std::size_t which = atEnd() ? std::string_view::npos : NAMES.find(peek());
    if (which == std::string_view::npos)
    {
        addLiteral("\\");
        return;
    }
    ++m_position;
    addLiteral(MEANINGS.substr(which, 1));
}

void LogMessagePatternParser::parseHexadecimal()
{
    constexpr unsigned GREATEST_CHARACTER = 127;
    const char* const digits = m_pattern.data() + m_position;
    unsigned value = 0;
    const std::from_chars_result read = std::from_chars(digits, m_pattern.data() + m_pattern.size(), value, 16);
    if (read.ec != std::errc() || value > GREATEST_CHARACTER)
    {
        addLiteral("\\x");
        return;
    }
    m_position += static_cast<std::size_t>(read.ptr - digits);
    const char character = static_cast<char>(value);
    addLiteral({&character, 1});
}

void LogMessagePatternParser::parsePercent()
{
    const std::size_t start = m_position - 1;
    if (skip('%'))
    {
        addLiteral("%");
    }
    else if (skip('n'))
    {
        addLiteral("\n");
    }
    else if (const std::optional<LogMessagePatternPiece> piece = parseConversion())
    {
        m_pieces.push_back(*piece);
    }
    else
    {
        addLiteral(std::string_view(m_pattern).substr(start));
    }
}

/// @return nothing if the pattern ends before the conversion's letter
std::optional<LogMessagePatternPiece> LogMessagePatternParser::parseConversion()
{
    LogMessagePatternPiece piece;
    while (skip('-'))
    {
        piece.leftJustified = true;
    }
    piece.minWidth = parseNumber();
    if (skip('.') && !atEnd())
    {
        if (!isDigit(peek()))
        {
            const std::string culprit(1, m_pattern[m_position++]);
            fail(E_DIGIT_EXPECTED, "Invalid pattern \"%1\" in position %2. Was expecting a digit, instead got char %3.",
                 culprit);
        }
        piece.maxWidth = parseNumber();
    }
    if (atEnd())
    {
        return std::nullopt;
    }
    piece.conversion = m_pattern[m_position++];
    if (std::string_view("mepcdrtPFLMl").find(piece.conversion) == std::string_view::npos)
    {
        fail(E_UNSUPPORTED_CONVERSION, "Invalid pattern \"%1\" in position %2. Unsupported conversion (%3).",
             std::string(1, piece.conversion));
    }
    parseOptionOf(piece);
    return piece;
}

std::size_t LogMessagePatternParser::parseNumber()
{
    std::size_t number = 0;
    while (!atEnd() && isDigit(peek()))
    {
        number = std::min(number * 10 + static_cast<std::size_t>(peek() - '0'), GREATEST_NUMBER);
        ++m_position;
    }
    return number;
}

void LogMessagePatternParser::parseOptionOf(LogMessagePatternPiece& piece)
{
    if (piece.conversion == 'c')
    {
        piece.componentPieces = componentPieces(parseBraces().value_or(""));
    }
    else if (piece.conversion == 'd')
    {
        piece.text = strftimeFormat(parseBraces().value_or(""));
    }
}

std::optional<std::string> LogMessagePatternParser::parseBraces()
{
    if (!skip('{'))
    {
        return std::nullopt;
    }
    const std::size_t end = m_pattern.find('}', m_position);
    if (end == std::string::npos)
    {
        const std::string option = m_pattern.substr(m_position);
        m_position = m_pattern.size();
        fail(E_OPTION_NOT_CLOSED, "Invalid pattern \"%1\" in position %2. The option is not closed (%3).", option);
    }
    const std::string option = m_pattern.substr(m_position, end - m_position);
    m_position = end + 1;
    return option;
}

std::size_t LogMessagePatternParser::componentPieces(const std::string& option) const
{
    if (!std::all_of(option.begin(), option.end(), isDigit))
    {
        fail(E_POSITIVE_INTEGER_NEEDED,
             "Invalid pattern \"%1\" in position %2. A positive integer is required for precision option (%3).",
             option);
    }
    std::size_t pieces = 0;
    for (const char digit : option)
    {
        pieces = std::min(pieces * 10 + static_cast<std::size_t>(digit - '0'), GREATEST_NUMBER);
    }
    return pieces;
}

void LogMessagePatternParser::addLiteral(std::string_view text)
{
    if (m_pieces.empty() || m_pieces.back().conversion != LogMessagePatternPiece::LITERAL)
    {
        m_pieces.emplace_back();
    }
    m_pieces.back().text += text;
}

void LogMessagePatternParser::fail(ELogMessagePatternError code, const char* format, const std::string& culprit) const
{
    throw LogMessagePatternFormatterException("LogMessagePatternFormatter", __LINE__,
                                              Format(format, m_pattern, m_position, culprit).c_str(), code);
}

} // namespace blocxx
