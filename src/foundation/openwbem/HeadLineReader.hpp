#pragma once

#include "blocxx/BaseStreamBuffer.hpp"

#include <cstddef>
#include <ios>
#include <streambuf>
#include <string>
#include <string_view>

namespace OpenWBEM
{

/// Reads the lines of one head straight from a stream's buffer, never a byte beyond a line's end. Lines that the buffer
/// already holds are read in place. What the buffer throws passes through.
class HeadLineReader
{
public:
    enum EResult
    {
        E_LINE,      ///< a line with its end
        E_LAST_LINE, ///< bytes that the end of the input followed
        E_END,       ///< the end of the input
        E_REFUSED    ///< a line that no head may hold, too large a head, or failed input
    };

    explicit HeadLineReader(std::streambuf& input);

    /// Reads the next line. Every result but E_LINE adds bits to state().
    EResult next();

    /// The bits that the stream should get for what has been read: eofbit and failbit for the end of the input, badbit
    /// too if it has failed, failbit for a line that was refused.
    std::ios_base::iostate state() const { return m_state; }

    /// The line without its end; valid until the next one is read.
    std::string_view line() const { return m_line; }

private:
    enum EGathered
    {
        E_WHOLE_LINE,
        E_INPUT_OVER,
        E_TOO_LONG
    };

    bool takeFromGetArea();
    EGathered gather();
    EGathered gatherBytes();
    EResult accept(EResult result);
    EResult endOfInput();
    EResult refuse(std::ios_base::iostate state);

    std::streambuf& m_source;
    blocxx::BaseStreamBuffer* const m_buffered; // null for other kinds of buffers
    std::string_view m_line;
    std::string m_gathered;
    std::size_t m_total = 0;
    std::ios_base::iostate m_state = std::ios_base::goodbit;
};

} // namespace OpenWBEM
