#pragma once

#include "GuardedInput.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace parsing_test
{

/// A piece of an input, and what the parser makes of an input that ends within it, behind its first byte at the
/// earliest. A "%" in the outcome stands for what there is of the piece.
struct CutRow
{
    std::string segment;
    std::string outcome;
};

/// What a parser makes of an input wherever that ends. The first row has an empty segment: it tells the outcome of nothing.
using CutTable = std::vector<CutRow>;

inline std::string wholeInput(const CutTable& table)
{
    std::string input;
    for (const CutRow& row : table)
    {
        input += row.segment;
    }
    return input;
}

/// What the table promises for the input's first `length` bytes.
inline std::string promised(const CutTable& table, std::size_t length)
{
    std::size_t begin = 0;
    for (const CutRow& row : table)
    {
        if (length <= begin + row.segment.size())
        {
            const std::string part = row.segment.substr(0, length - begin);
            std::string outcome;
            for (const char c : row.outcome)
            {
                outcome += c == '%' ? part : std::string(1, c);
            }
            return outcome;
        }
        begin += row.segment.size();
    }
    return "no such row";
}

/// What a parser that is given an input makes of it, as a text.
using StreamParser = std::function<std::string(GuardedInput& input)>;
using TextParser = std::function<std::string(const std::string& input)>;

/// Parses the input, and its beginnings of every length, whole, byte by byte and in random pieces.
inline void expectOutcomes(const CutTable& table, const StreamParser& parse)
{
    const std::string input = wholeInput(table);
    for (std::size_t length = 0; length <= input.size(); ++length)
    {
        SCOPED_TRACE("the first " + std::to_string(length) + " bytes");
        const std::string outcome = promised(table, length);
        const auto expectOutcome = [&](const char* way, const PieceLength& pieces)
        {
            GuardedInput source(input.substr(0, length), pieces);
            EXPECT_EQ(parse(source), outcome) << way;
        };
        expectOutcome("whole", piecesOf(std::numeric_limits<std::size_t>::max()));
        expectOutcome("byte by byte", piecesOf(1));
        for (unsigned seed = 1; seed <= 10; ++seed)
        {
            expectOutcome("in random pieces", randomPieces(seed));
        }
    }
}

/// The same for a parser of a text that is there as a whole.
inline void expectTextOutcomes(const CutTable& table, const TextParser& parse)
{
    const std::string input = wholeInput(table);
    for (std::size_t length = 0; length <= input.size(); ++length)
    {
        SCOPED_TRACE("the first " + std::to_string(length) + " bytes");
        EXPECT_EQ(parse(input.substr(0, length)), promised(table, length));
    }
}

} // namespace parsing_test
