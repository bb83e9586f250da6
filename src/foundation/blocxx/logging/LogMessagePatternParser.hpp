#pragma once

#include "logging/LogMessagePatternPiece.hpp"

#include "blocxx/String.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace blocxx
{

/// Cuts a pattern into its pieces.
class LogMessagePatternFormatter::Parser
{
public:
    explicit Parser(const String& pattern) : m_pattern(pattern.c_str(), pattern.length()) {}

    /// @throws LogMessagePatternFormatterException
    std::vector<Piece> parse();

private:
    bool atEnd() const { return m_position == m_pattern.size(); }
    char peek() const { return m_pattern[m_position]; }
    bool skip(char c);

    void parseEscape();
    void parseHexadecimal();
    void parsePercent();
    std::optional<Piece> parseConversion();
    std::size_t parseNumber();
    void parseOptionOf(Piece& piece);
    std::optional<std::string> parseBraces();
    std::size_t componentPieces(const std::string& option) const;

    void addLiteral(std::string_view text);

    [[noreturn]] void fail(EErrorCode code, const char* format, const std::string& culprit) const;

    const std::string m_pattern;
    std::size_t m_position = 0;
    std::vector<Piece> m_pieces;
};

} // namespace blocxx
