#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace ZOLNS2::MIME
{

/// Bytes in one piece, where they were copied from a caller's memory, or in the blocks of BLOCK_SIZE in which they were
/// received; the last one is as large as its bytes need. Never changed, so any number of threads may read them.
class StoredBytes
{
public:
    static constexpr std::size_t BLOCK_SIZE = 16384;

    StoredBytes() = default;
    /// Copies `count` bytes.
    StoredBytes(const char* bytes, std::size_t count);

    std::size_t size() const { return m_end - m_begin; }

    /// The contiguous bytes from byte `index` on; empty at the end.
    std::string_view runAt(std::size_t index) const;

    /// Copies `count` bytes from `index` on to `to`, which must be there.
    void copy(std::size_t index, std::size_t count, char* to) const;

private:
    friend class ReceivedBytes;

    void appendBlock(const char* bytes, std::size_t count);

    std::unique_ptr<char[]> m_piece; ///< null if there are blocks
    std::vector<std::unique_ptr<char[]>> m_blocks;
    std::size_t m_begin = 0; ///< of the first byte, counted from the start of the first block
    std::size_t m_end = 0;   ///< after the last one
};

} // namespace ZOLNS2::MIME
