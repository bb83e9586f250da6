#pragma once

#include "blocxx/internal/DirectInput.hpp"
#include "openwbem/OW_HTTPChunkDecoder.hpp"
#include "openwbem/OW_config.h"

#include <cstddef>

namespace OpenWBEM::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// Reads several chunks with one system call, and their data straight to its place: most servers cut what they send into
/// chunks of one size. A read is laid out for more chunks like the one that was begun, with the lines between them aside.
/// What arrives in another form becomes the get area, and is decoded from there.
class OW_HTTP_API EqualChunks
{
public:
    /// The data of chunks of at least this size goes past the get area, if the reader has room for as much.
    static constexpr std::size_t LARGE_CHUNK_SIZE = 8192;

    /// Whether the next read is one for read(), where the get area is empty. The decoder has to be at the data of a large
    /// chunk, and that to be of whole pages: such chunks come from buffers, and others of the same size follow.
    static bool canRead(const blocxx::Internal::DirectInput& input, const HTTPChunkDecoder& decoder, std::size_t room);

    /// Reads and decodes what one read delivers.
    /// @param to where data goes; all of the room may be written to
    /// @return the bytes of data; 0 at the end of the input
    static std::size_t read(const blocxx::Internal::DirectInput& input, HTTPChunkDecoder& decoder, char* to,
                            std::size_t room);
};

} // namespace OpenWBEM::Internal
