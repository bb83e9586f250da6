#include "openwbem/internal/EqualChunks.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace OpenWBEM::Internal
{

using blocxx::Internal::DirectInput;

namespace
{

// As many of the smallest as a get area of 64 KiB holds.
constexpr std::size_t MOST_CHUNKS = 8;

// A line end, the digits and a line end.
constexpr std::size_t LONGEST_START = HTTPChunkDecoder::MAX_SIZE_DIGITS + 4;

constexpr std::size_t PAGE = 4096;

std::size_t lengthOfStart(std::uint64_t chunkSize)
{
    std::size_t length = 4;
    for (; chunkSize != 0; chunkSize >>= 4)
    {
        ++length;
    }
    return length;
}

/// Where one read goes: the rest of a chunk's data; then, again and again, the start of a chunk and its data.
struct Layout
{
    Layout(const HTTPChunkDecoder& decoder, char* to, std::size_t room, std::size_t heldAtMost);

    void add(char* to, std::size_t size) { pieces[count++] = {to, size}; }

    std::array<iovec, 1 + 2 * MOST_CHUNKS> pieces;
    std::array<char, LONGEST_START * MOST_CHUNKS> starts;
    std::size_t count = 0;
};

// All but the first piece may become the get area.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): what is not written is not read
Layout::Layout(const HTTPChunkDecoder& decoder, char* to, std::size_t room, std::size_t heldAtMost)
{
    const auto rest = static_cast<std::size_t>(decoder.dataLeft());
    add(to, rest);
    to += rest;
    room -= rest;
    const std::size_t startLength = lengthOfStart(decoder.chunkSize());
    for (std::size_t chunk = 0; chunk < MOST_CHUNKS && heldAtMost >= startLength; ++chunk)
    {
        add(&starts[chunk * LONGEST_START], startLength);
        heldAtMost -= startLength;
        const std::size_t run = std::min<std::uint64_t>(decoder.chunkSize(), std::min(room, heldAtMost));
        if (run == 0)
        {
            return;
        }
        add(to, run);
        to += run;
        room -= run;
        heldAtMost -= run;
        if (run < decoder.chunkSize())
        {
            return;
        }
    }
}

/// Whether others of the same size are expected behind the chunk, and all of its data has room. Chunks of whole pages come
/// from buffers, so more of them follow.
bool expectsEqual(const DirectInput& input, const HTTPChunkDecoder& decoder, std::size_t room)
{
    return decoder.chunkSize() >= EqualChunks::LARGE_CHUNK_SIZE && decoder.chunkSize() % PAGE == 0 &&
           decoder.dataLeft() > 0 && decoder.dataLeft() <= room && input.takesPieces();
}

} // namespace

std::size_t EqualChunks::read(const DirectInput& input, HTTPChunkDecoder& decoder, char* to, std::size_t room)
{
    if (expectsEqual(input, decoder, room))
    {
        return readSeveral(input, decoder, to, room);
    }
    const std::size_t run = std::min<std::uint64_t>(decoder.dataLeft(), room);
    const std::size_t count = input.readDirect(to, run, std::min(room - run, FRAMING_READ_SIZE));
    decoder.takeData(count);
    return count;
}

std::size_t EqualChunks::readSeveral(const DirectInput& input, HTTPChunkDecoder& decoder, char* to, std::size_t room)
{
    Layout layout(decoder, to, room, input.capacity());
    std::size_t left = input.readPieces(layout.pieces.data(), layout.count);
    std::size_t data = 0;
    const auto takeData = [&](std::size_t atMost)
    {
        const std::size_t run = std::min(left, atMost);
        decoder.takeData(run);
        data += run;
        left -= run;
    };
    takeData(layout.pieces[0].iov_len);
    for (std::size_t at = 1; left > 0; at += 2)
    {
        const iovec& start = layout.pieces[at];
        if (left < start.iov_len || !decoder.takeEqualStart(static_cast<const char*>(start.iov_base), start.iov_len))
        {
            input.hold(&start, left);
            break;
        }
        left -= start.iov_len;
        if (left > 0)
        {
            takeData(layout.pieces[at + 1].iov_len);
        }
    }
    return data;
}

} // namespace OpenWBEM::Internal
