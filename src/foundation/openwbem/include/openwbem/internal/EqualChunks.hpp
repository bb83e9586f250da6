#pragma once

#include "blocxx/internal/DirectInput.hpp"
#include "openwbem/OW_HTTPChunkDecoder.hpp"
#include "openwbem/OW_config.h"

#include <cstddef>

namespace OpenWBEM::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// Reads the data of large chunks straight to its place, past the get area, and that of several with one system call where
/// they are of one size: most servers cut what they send into such chunks. A read is laid out for more chunks like the one
/// that was begun, with the lines between them aside. What arrives in another form becomes the get area, and is decoded
/// from there.
class OW_HTTP_API EqualChunks
{
public:
    /// The data of chunks of at least this size goes past the get area, if the reader has room for as much.
    static constexpr std::size_t LARGE_CHUNK_SIZE = 8192;

    /// What is read for the framing between two of them, a line end and a size line without an extension: more would take
    /// data into the get area that could go past it.
    static constexpr std::size_t FRAMING_READ_SIZE = 32;

    /// Reads and decodes what one read delivers, where the decoder is at the data of a large chunk and the get area is
    /// empty.
    /// @param to where data goes; all of the room may be written to
    /// @return the bytes of data; 0 at the end of the input
    static std::size_t read(const blocxx::Internal::DirectInput& input, HTTPChunkDecoder& decoder, char* to,
                            std::size_t room);

private:
    static std::size_t readSeveral(const blocxx::Internal::DirectInput& input, HTTPChunkDecoder& decoder, char* to,
                                   std::size_t room);
};

} // namespace OpenWBEM::Internal
