#pragma once

#include "blocxx/BaseStreamBuffer.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ios>
#include <stdexcept>
#include <string>
#include <utility>

namespace zol_test
{

/// A device buffer over a text that arrives in pieces of a fixed size, as from a network, and ends as one is told.
class PiecewiseInput : public blocxx::BaseStreamBuffer
{
public:
    enum EEnd
    {
        E_ORDERLY,
        E_ERROR, ///< fails with ECONNRESET
        E_THROW  ///< throws std::runtime_error
    };

    explicit PiecewiseInput(std::string text, std::size_t pieceSize = 65536, EEnd end = E_ORDERLY)
        : BaseStreamBuffer(E_IN, 65536, E_NEGATIVE_FAILS), m_text(std::move(text)), m_pieceSize(pieceSize), m_end(end)
    {
    }

    /// How often the device was asked.
    int reads() const { return m_reads; }

    /// What was not taken from the buffer, delivered or not.
    std::string left() const
    {
        const Window held = window();
        return std::string(held.data, held.size) + m_text.substr(m_position);
    }

private:
    int buffer_from_device(char* c, int n) override
    {
        ++m_reads;
        const std::size_t count = std::min({m_pieceSize, static_cast<std::size_t>(n), m_text.size() - m_position});
        if (count == 0 && m_end == E_THROW)
        {
            throw std::runtime_error("the device broke");
        }
        if (count == 0 && m_end == E_ERROR)
        {
            errno = ECONNRESET;
            return -1;
        }
        std::memcpy(c, m_text.data() + m_position, count);
        m_position += count;
        return static_cast<int>(count);
    }

    const std::string m_text;
    const std::size_t m_pieceSize;
    const EEnd m_end;
    std::size_t m_position = 0;
    int m_reads = 0;
};

/// The bits of a stream's state: "good", or those of E (eofbit), F (failbit) and B (badbit) that are set.
inline std::string stateOf(const std::ios& stream)
{
    const std::ios_base::iostate state = stream.rdstate();
    const std::string bits = std::string((state & std::ios_base::eofbit) != 0 ? "E" : "") +
                             ((state & std::ios_base::failbit) != 0 ? "F" : "") +
                             ((state & std::ios_base::badbit) != 0 ? "B" : "");
    return bits.empty() ? "good" : bits;
}

} // namespace zol_test
