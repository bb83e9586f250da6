#pragma once

#include <cstddef>
#include <string>

namespace blocxx
{

/// A run of literal text, or one conversion.
struct LogMessagePatternPiece
{
    static constexpr char LITERAL = '\0';
    static constexpr std::size_t UNLIMITED = static_cast<std::size_t>(-1);

    char conversion = LITERAL;
    bool leftJustified = false;
    std::size_t minWidth = 0;
    std::size_t maxWidth = UNLIMITED;
    std::size_t componentPieces = 0; ///< %c: how many of the last pieces; 0 for all
    std::string text;                ///< the literal text; %d: the strftime format
};

} // namespace blocxx
