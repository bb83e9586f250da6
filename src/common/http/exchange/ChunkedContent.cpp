#include "zol/http/ChunkedContent.hpp"

#include "content/OwnState.hpp"
#include "exchange/Refusal.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

namespace ZOLNS2::HTTP
{

namespace
{

using MIME::END_OF_DATA;

// Requests below this are served from the state's memory, so that chunks do not become tiny.
constexpr size_t SMALLEST_DIRECT_READ = 1024;
constexpr size_t LARGEST_CHUNK = 1U << 24U;

constexpr std::string_view LAST_CHUNK = "0\r\n\r\n";
constexpr size_t LINE_END = 2;

size_t hexDigits(size_t number)
{
    size_t digits = 1;
    while ((number >>= 4U) != 0)
    {
        ++digits;
    }
    return digits;
}

} // namespace

class ChunkedContent::State : public MIME::ContentStreamState
{
public:
    explicit State(const MIME::ContentStreamStateRef& innerState) : inner(innerState) {}

    MIME::ContentStreamStateRef inner;
    char held[SMALLEST_DIRECT_READ] = {}; ///< a chunk that is delivered in pieces
    size_t heldPosition = 0;
    size_t heldEnd = 0;
    bool lastChunkIsWritten = false;
};

ChunkedContent::ChunkedContent(const MIME::ContentRef& content) : m_content(content)
{
    if (!content)
    {
        MIME::refuseContent("There is no content to write in chunks");
    }
}

ChunkedContent::~ChunkedContent() = default;

MIME::ContentTypeHeader ChunkedContent::getContentType()
{
    return m_content->getContentType();
}

bool ChunkedContent::hasContentLength()
{
    return false;
}

size_t ChunkedContent::getContentLength()
{
    MIME::refuseContent("A body in chunked coding has no length that is known beforehand");
}

size_t ChunkedContent::getData(char* buf, size_t len, const MIME::ContentStreamStateRef& state)
{
    auto& own = MIME::ownState<State>(state);
    if (own.heldPosition == own.heldEnd)
    {
        if (own.lastChunkIsWritten)
        {
            return END_OF_DATA;
        }
        if (len >= SMALLEST_DIRECT_READ)
        {
            return writeChunk(buf, len, own);
        }
        own.heldPosition = own.heldEnd = 0; // also when the content throws
        own.heldEnd = writeChunk(own.held, sizeof(own.held), own);
    }
    const size_t count = std::min(len, own.heldEnd - own.heldPosition);
    std::memcpy(buf, own.held + own.heldPosition, count);
    own.heldPosition += count;
    return count;
}

// chunk      = chunk-size CRLF chunk-data CRLF   (RFC 9112, section 7.1)
// last-chunk = 1*("0") CRLF
/// Reads once and writes what that brought; the last chunk, with the empty line behind it, at the end.
/// @param capacity at least SMALLEST_DIRECT_READ
/// @return the bytes written; 0 if the content had nothing
size_t ChunkedContent::writeChunk(char* to, size_t capacity, State& state) const
{
    capacity = std::min(capacity, LARGEST_CHUNK);
    // The data is read to where it belongs if it fills the capacity; otherwise its size may have fewer digits.
    const size_t roomForDigits = hexDigits(capacity - hexDigits(capacity) - 2 * LINE_END);
    const size_t most = std::min(capacity - roomForDigits - 2 * LINE_END, (size_t{1} << (4 * roomForDigits)) - 1);
    char* const read = to + roomForDigits + LINE_END;
    const size_t count = m_content->getData(read, most, state.inner);
    if (count == 0 || count == END_OF_DATA)
    {
        if (MIME::endedBadly(m_content, state.inner))
        {
            MIME::refuseContent("The content ended before all of its data was delivered");
        }
        state.lastChunkIsWritten = count == END_OF_DATA;
        return state.lastChunkIsWritten ? LAST_CHUNK.copy(to, LAST_CHUNK.size()) : 0;
    }
    char* data = std::to_chars(to, to + roomForDigits, count, 16).ptr;
    *data++ = '\r';
    *data++ = '\n';
    if (data != read)
    {
        std::memmove(data, read, count);
    }
    data[count] = '\r';
    data[count + 1] = '\n';
    return static_cast<size_t>(data - to) + count + LINE_END;
}

MIME::ContentStreamStateRef ChunkedContent::createInitialStreamState() const
{
    return MIME::ContentStreamStateRef(new State(m_content->createInitialStreamState()));
}

bool ChunkedContent::endedBadly(const MIME::ContentStreamStateRef& state) const
{
    return MIME::endedBadly(m_content, MIME::ownState<State>(state).inner);
}

} // namespace ZOLNS2::HTTP
