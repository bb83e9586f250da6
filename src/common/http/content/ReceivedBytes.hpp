#pragma once

#include "content/StoredBytes.hpp"

#include <cstddef>
#include <memory>
#include <vector>

namespace ZOLNS2::MIME
{

/// Bytes of a body as they arrive, kept in blocks: bytes are never moved to make room for more, and taking
/// bytes off the front moves nothing.
class ReceivedBytes
{
public:
    /// Contiguous bytes.
    struct Run
    {
        char* data;
        std::size_t size;
    };

    std::size_t size() const { return m_end - m_begin; }
    char operator[](std::size_t index) const { return *place(m_begin + index); }
    /// The contiguous bytes from byte `index` on; empty at the end.
    Run runAt(std::size_t index) const;

    void append(const char* bytes, std::size_t count);
    /// Takes `count` bytes off the front, which must be there.
    void dropFront(std::size_t count) { m_begin += count; }
    /// Drops all bytes, and their memory but for one block.
    void clear();
    /// Drops all bytes as clear() does, and returns them. Whole blocks change owners; they are not copied.
    StoredBytes take();

private:
    char* place(std::size_t index) const;

    std::vector<std::unique_ptr<char[]>> m_blocks;
    std::size_t m_begin = 0; ///< as in StoredBytes
    std::size_t m_end = 0;
};

} // namespace ZOLNS2::MIME
