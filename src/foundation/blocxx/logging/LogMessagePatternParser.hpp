#pragma once

#include "logging/LogMessagePatternPiece.hpp"

#include "blocxx/LogMessagePatternFormatterException.hpp"
#include "blocxx/String.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace blocxx
{

/// Cuts a pattern into its pieces:
///
///     pattern    = *( conversion / "%%" / "%n" / escape / CHAR )
///     conversion = "%" *"-" [ 1*DIGIT ] [ "." 1*DIGIT ] letter
///     letter     = ( "c" / "d" ) [ "{" *CHAR "}" ] / "m" / "e" / "p" / "r" / "t" / "P" / "F" / "L" / "M" / "l"
///     escape     = "\\" ( "n" / "r" / "t" / "\\" / "x" 1*HEXDIG )
///
/// A percent sign or a conversion that the end of the pattern cuts is literal text, and so is a backslash before any
/// other character.
class LogMessagePatternParser
{
public:
    explicit LogMessagePatternParser(const String& pattern) : m_pattern(pattern.c_str(), pattern.length()) {}

    /// @throws LogMessagePatternFormatterException
    std::vector<LogMessagePatternPiece> parse();

private:
    bool atEnd() const { return m_position == m_pattern.size(); }
    char peek() const { return m_pattern[m_position]; }
    bool skip(char c);

    void parseEscape();
    void parseHexadecimal();
    void parsePercent();
    std::optional<LogMessagePatternPiece> parseConversion();
    std::size_t parseNumber();
    void parseOptionOf(LogMessagePatternPiece& piece);
    std::optional<std::string> parseBraces();
    std::size_t componentPieces(const std::string& option) const;

    void addLiteral(std::string_view text);

    [[noreturn]] void fail(ELogMessagePatternError code, const char* format, const std::string& culprit) const;

    const std::string m_pattern;
    std::size_t m_position = 0;
    std::vector<LogMessagePatternPiece> m_pieces;
};

} // namespace blocxx
