// The chunked coding, wherever it is cut and however it arrives.

#include "CutTable.hpp"
#include "Shown.hpp"

#include "openwbem/OW_HTTPChunkDecoder.hpp"
#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <array>
#include <istream>
#include <iterator>

using namespace parsing_test;

namespace
{

std::string readChunked(GuardedInput& input)
{
    std::istream source(&input);
    OpenWBEM::HTTPChunkedIStream stream(source);
    const std::string body{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    stream.peek();
    return (stream.bad() ? "bad " : "complete ") + body + (input.left().empty() ? "" : " left " + input.left());
}

/// Feeds the decoder with the input's pieces as they come, with room for five bytes of data.
std::string decodeChunked(GuardedInput& input)
{
    OpenWBEM::HTTPChunkDecoder decoder;
    std::string body;
    std::istream source(&input);
    while (!decoder.isOver() && source.peek() != std::char_traits<char>::eof())
    {
        std::string piece(static_cast<std::size_t>(input.in_avail()), '\0');
        source.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        const GuardedMemory memory(piece.size());
        const std::string_view from = memory.place(piece);
        const char* position = from.data();
        while (!decoder.isOver() && position != from.data() + from.size())
        {
            std::array<char, 5> room{};
            const auto progress =
                decoder.decode(position, from.data() + from.size(), room.data(), room.data() + room.size());
            body.append(room.data(), progress.to);
            position = progress.from;
        }
    }
    if (!decoder.isOver())
    {
        decoder.endInput();
    }
    return (decoder.isComplete() ? "complete " : "bad ") + body;
}

const CutTable WHOLE_BODY = {
    {"", "bad "},
    {"0005", "bad "},
    {" ;name=value", "bad "},
    {"\r\n", "bad "},
    {"hello", "bad %"},
    {"\r\n", "bad hello"},
    {"a\n", "bad hello"},
    {"0123456789", "bad hello%"},
    {"\n", "bad hello0123456789"},
    {"000", "bad hello0123456789"},
    {";x\r", "bad hello0123456789"},
    {"\n", "complete hello0123456789"}, // the line of the zero-size chunk is whole
    {"Trailer: x\r\n", "complete hello0123456789"},
    {"\r\n", "complete hello0123456789"},
};

} // namespace

TEST(EveryCut, OfAChunkedBodyIsBadUpToTheLineOfTheLastChunk)
{
    expectOutcomes(WHOLE_BODY, readChunked);
    expectOutcomes(WHOLE_BODY, decodeChunked);
}

TEST(EveryCut, BehindAChunkedBodyLeavesWhatFollows)
{
    expectOutcomes(
        {
            {"0", "bad "},
            {"\r", "bad "},
            {"\n", "complete "},
            {"\r\n", "complete "},
            {"NEXT", "complete  left %"},
        },
        readChunked);
}

TEST(EveryCut, OfAMalformedChunkedBodyIsBad)
{
    const std::vector<CutTable> tables = {
        {{"5\r\n", "bad "}, {"hello", "bad %"}, {"x0\r\n\r\n", "bad hello"}},   // no line end behind the data
        {{"5\r\n", "bad "}, {"hello", "bad %"}, {"\rx0\r\n\r\n", "bad hello"}}, // a CR alone
        {{"-1\r\nhello", "bad "}},                                              // a sign
        {{"0x5\r\nhello", "bad "}},                                             // a prefix
        {{"\r\n5\r\nhello", "bad "}},                                           // no digits
        {{"11111111111111111\r\nhello", "bad "}},                               // seventeen digits
        {{"5\r\n", "bad "}, {"hello", "bad %"}, {"\r\ng\r\n", "bad hello"}},    // not a digit
        {{"5;a\rb\r\nhello", "bad "}},                                          // a CR in an extension
    };
    for (const CutTable& table : tables)
    {
        SCOPED_TRACE(wholeInput(table));
        expectOutcomes(table, decodeChunked);
        expectOutcomes(table,
                       [](GuardedInput& input)
                       {
                           const std::string outcome = readChunked(input);
                           return outcome.substr(0, outcome.find(" left "));
                       });
    }
}
