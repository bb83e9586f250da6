#include "FuzzTarget.hpp"
#include "exchange/DecodedBody.hpp"

#include <zlib.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace ZOLNS2;
using HTTP::DecodedBody;
using HTTP::ExchangeResponse;

namespace
{

/// Compressed bytes as they arrive, in pieces of one size.
class Encoded : public HTTP::ReceivedBody
{
public:
    Encoded(const std::string& bytes, std::size_t pieceSize)
        : ReceivedBody(MIME::ContentTypeHeader(), 200, ~std::uint64_t{0}), m_bytes(bytes), m_pieceSize(pieceSize)
    {
    }

    bool hasContentLength() override { return false; }
    std::size_t getContentLength() override { return 0; }

protected:
    std::size_t read(char* buffer, std::size_t room) override
    {
        const std::size_t count = std::min({room, m_pieceSize, m_bytes.size() - m_position});
        std::copy_n(m_bytes.data() + m_position, count, buffer);
        m_position += count;
        if (count == 0)
        {
            finish(ExchangeResponse::E_COMPLETE);
        }
        return count;
    }

private:
    const std::string& m_bytes;
    const std::size_t m_pieceSize;
    std::size_t m_position = 0;
};

struct Outcome
{
    std::string text;
    ExchangeResponse::EBodyEnd end;

    bool operator==(const Outcome& other) const { return text == other.text && end == other.end; }
};

constexpr std::uint64_t LIMIT = 100000;

Outcome decoded(const std::string& bytes, DecodedBody::ECoding coding, std::size_t pieceSize, std::size_t blockSize)
{
    DecodedBody body(HTTP::ReceivedBodyRef(new Encoded(bytes, pieceSize)), coding, LIMIT);
    const MIME::ContentStreamStateRef state = body.createInitialStreamState();
    Outcome outcome{};
    std::vector<char> block(blockSize);
    std::size_t count = 0;
    while ((count = body.getData(block.data(), block.size(), state)) != MIME::END_OF_DATA)
    {
        zol_fuzz::check(count > 0 && count <= block.size(), "a read delivers something, and within its room");
        outcome.text.append(block.data(), count);
        zol_fuzz::check(outcome.text.size() <= LIMIT, "the limit holds");
    }
    outcome.end = body.end();
    zol_fuzz::check((outcome.end == ExchangeResponse::E_COMPLETE) == body.endText().empty(), "a bad end has a text");
    return outcome;
}

std::string deflated(const std::string& text, int windowBits)
{
    z_stream stream{};
    zol_fuzz::check(::deflateInit2(&stream, 6, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) == Z_OK, "zlib starts");
    std::string result(::deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<unsigned>(text.size());
    stream.next_out = reinterpret_cast<unsigned char*>(result.data());
    stream.avail_out = static_cast<unsigned>(result.size());
    zol_fuzz::check(::deflate(&stream, Z_FINISH) == Z_STREAM_END, "zlib takes all");
    result.resize(stream.total_out);
    ::deflateEnd(&stream);
    return result;
}

/// What is compressed comes out again, and a cut is never complete.
void checkRoundTrip(const std::string& text, DecodedBody::ECoding coding, int windowBits, std::size_t pieceSize)
{
    const std::string bytes = deflated(text, windowBits);
    const Outcome whole = decoded(bytes, coding, pieceSize, 4096);
    zol_fuzz::check(whole.end == ExchangeResponse::E_COMPLETE && whole.text == text, "what was compressed comes out");
    const std::string cut = bytes.substr(0, bytes.size() * pieceSize / 256);
    zol_fuzz::check(cut.empty() || decoded(cut, coding, pieceSize, 4096).end != ExchangeResponse::E_COMPLETE,
                    "a cut is never complete");
}

} // namespace

// The first byte is the size of the pieces that arrive, and where one is cut. The rest is taken as compressed bytes of
// either coding, and as a text to be compressed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    const std::size_t pieceSize = std::max<std::size_t>(data[0], 1);
    const std::string bytes = zol_fuzz::textOf(data + 1, size - 1);
    for (const DecodedBody::ECoding coding : {DecodedBody::E_GZIP, DecodedBody::E_DEFLATE})
    {
        const Outcome whole = decoded(bytes, coding, bytes.size() + 1, 65536);
        zol_fuzz::check(decoded(bytes, coding, pieceSize, 65536) == whole, "the same in other pieces");
        zol_fuzz::check(decoded(bytes, coding, bytes.size() + 1, pieceSize) == whole, "the same in other reads");
    }
    checkRoundTrip(bytes, DecodedBody::E_GZIP, MAX_WBITS + 16, pieceSize);
    checkRoundTrip(bytes, DecodedBody::E_DEFLATE, MAX_WBITS, pieceSize);
    checkRoundTrip(bytes, DecodedBody::E_DEFLATE, -MAX_WBITS, pieceSize);
    return 0;
}
