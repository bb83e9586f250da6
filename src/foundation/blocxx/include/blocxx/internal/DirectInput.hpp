#pragma once

#include "blocxx/BLOCXX_config.h"

#include <sys/uio.h>

#include <cstddef>
#include <streambuf>

namespace blocxx
{

class BaseStreamBuffer;

namespace Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// Reads of a device that go past the get area of its stream buffer. Only a buffer of exactly the type
/// IOIFCStreamBuffer allows them: a derived class may replace the way its input takes, `underflow` for one, and every
/// read has to go that way.
class BLOCXX_COMMON_API DirectInput
{
public:
    /// @param buffer null or a buffer that outlives this object
    explicit DirectInput(std::streambuf* buffer);

    /// Whether the buffer allows such reads. The other members must not be called if it does not.
    explicit operator bool() const { return m_buffer != nullptr; }

    /// Fills an empty get area with what one device read of at most `atMost` bytes delivers; leaves one that holds
    /// bytes.
    /// @return whether the get area holds any
    bool fillGetArea(std::size_t atMost) const;

    /// Puts what one device read delivers behind the bytes that the get area holds, as far as the buffer has room.
    /// @return whether anything came
    bool extendGetArea() const;

    /// Reads straight from the device into the caller's memory, past an empty get area, as much as one read delivers.
    /// Up to `ahead` bytes after them may come along; those become the get area.
    /// @param to room for `count` + `ahead` bytes, all of which may be written to
    /// @return the bytes of the `count`; 0 at the end of the input
    std::size_t readDirect(char* to, std::size_t count, std::size_t ahead) const;

    /// The bytes that the get area has room for.
    std::size_t capacity() const;

    /// Whether one read of the device can fill several pieces of memory: it is a plain TCP connection.
    bool takesPieces() const;

    /// As readDirect, into several pieces in their order. Only where takesPieces() says so.
    /// @return the bytes; 0 at the end of the input
    std::size_t readPieces(iovec* pieces, std::size_t count) const;

    /// Makes `size` bytes that readPieces() has stored the get area, which is empty: the first of these pieces. At most
    /// capacity() bytes; does not throw.
    void hold(const iovec* pieces, std::size_t size) const;

private:
    BaseStreamBuffer* m_buffer;
};

} // namespace Internal
} // namespace blocxx
