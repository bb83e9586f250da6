#pragma once

#include <cstddef>
#include <memory>

namespace blocxx
{

/// One input buffer that each thread keeps from its last connection for the next one. An allocation of that size makes
/// the allocator tidy its free memory up, there and back, which costs a small message as much as its transfer.
///
/// A buffer may be released on another thread than it was acquired on; it is that thread's spare then. What is kept is
/// freed when the thread ends.
class SpareBuffer
{
public:
    /// The size that is kept: that of a connection's input buffer.
    static constexpr std::size_t SIZE = 65536;

    /// @return `size` bytes, not initialised
    static std::unique_ptr<char[]> acquire(std::size_t size);

    /// @param buffer of `size` bytes; null does nothing
    static void release(std::unique_ptr<char[]> buffer, std::size_t size) noexcept;
};

} // namespace blocxx
