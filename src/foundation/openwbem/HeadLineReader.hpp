#pragma once

#include "blocxx/BaseStreamBuffer.hpp"

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

namespace OpenWBEM
{

/// Reads the lines of one head straight from a stream's buffer, never a byte beyond a line's end. Lines that the buffer
/// already holds are looked at where they lie.
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

    explicit HeadLineReader(std::istream& input);

    /// Reads the next line. Sets the stream's bits for all but E_LINE: eofbit, failbit and, for failed input, badbit.
    EResult next();

    /// The line without its end; valid until the next one is read.
    std::string_view line() const { return m_line; }

private:
    enum EGathered
    {
        E_WHOLE_LINE,
        E_INPUT_OVER,
        E_TOO_LONG,
        E_BUFFER_THREW
    };

    bool takeFromWindow();
    EGathered gather();
    EGathered gatherBytes();
    EResult accept(EResult result);
    EResult endOfInput();
    EResult refuse(std::ios_base::iostate state);

    std::istream& m_input;
    std::streambuf& m_source;
    blocxx::BaseStreamBuffer* const m_buffered; // null for other kinds of buffers
    std::string_view m_line;
    std::string m_gathered;
    std::size_t m_total = 0;
};

} // namespace OpenWBEM
