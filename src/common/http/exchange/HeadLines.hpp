#pragma once

#include "blocxx/String.hpp"

#include <cstddef>
#include <streambuf>
#include <string>
#include <string_view>

namespace ZOLNS2::HTTP
{

/// Reads the lines of a head from a stream's buffer, and takes no byte behind them. CR LF ends a line, or LF alone (RFC
/// 9112, section 2.2); a CR elsewhere and NUL are refused.
class HeadLines
{
public:
    enum EResult
    {
        E_LINE,
        E_END,      ///< the input has ended; line() is what came without a line end
        E_TOO_LONG, ///< the line, or all of them together; problem() says which
        E_REFUSED   ///< the line holds what no head may hold; problem() says what
    };

    static constexpr std::size_t MAX_LINE_LENGTH = std::size_t{64} * 1024;

    /// @param limit the most bytes, line ends included
    HeadLines(std::streambuf& input, std::size_t limit) : m_input(input), m_limit(limit), m_left(limit) {}

    EResult next();

    /// For a head that is read in another way: takes `length` bytes in `lines` lines as read.
    void skip(std::size_t length, std::size_t lines)
    {
        m_left -= length;
        m_number += lines;
    }

    /// Without its end; valid until the next call and the next read of the input.
    std::string_view line() const { return m_line; }

    /// Of the line, from 1.
    std::size_t number() const { return m_number; }

    /// Whether any byte has been read.
    bool anyRead() const { return m_left < m_limit; }

    /// How many bytes may still be read.
    std::size_t bytesLeft() const { return m_left; }

    const blocxx::String& problem() const { return m_problem; }

private:
    EResult accept(std::size_t lengthWithEnd);
    EResult endOfInput();
    EResult check(EResult result);
    EResult tooLong();
    EResult fail(EResult result, const blocxx::String& problem);

    std::streambuf& m_input;
    const std::size_t m_limit;
    std::size_t m_left;
    std::size_t m_number = 0;
    std::string m_gathered; // a line that the buffer did not hold whole
    std::string_view m_line;
    blocxx::String m_problem;
};

} // namespace ZOLNS2::HTTP
