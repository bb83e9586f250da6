#pragma once

#include "zol/mime/Content.hpp"

#include <cstddef>
#include <string_view>

/// @file
/// Contents of exactly the library's own types. Nobody else sees how they are read, so that it may be done in the way
/// that costs least; a content of another type may be a program's own, and derives what it does from its reads.

namespace ZOLNS2::MIME
{

/// Whether its reads may be larger than the 4096 bytes that a program's own content sees.
bool isOwnContent(const Content& content);

/// Whether it is one of those, and reads files.
bool isOwnFiles(const Content& content);

/// The bytes of a content in memory, in place.
class OwnBytes
{
public:
    /// @param state of a reading of `content`, which outlives this object
    OwnBytes(const Content& content, const ContentStreamStateRef& state);

    /// Whether the content has its bytes in memory.
    explicit operator bool() const { return m_position != nullptr; }

    /// Contiguous bytes from the reading's position on; empty at the end.
    std::string_view run() const;

    /// Moves the reading on by `count` bytes, which must be there.
    void advance(std::size_t count) { *m_position += count; }

private:
    const class StoredBytes* m_stored = nullptr;
    std::string_view m_text;
    std::size_t* m_position = nullptr;
};

} // namespace ZOLNS2::MIME
