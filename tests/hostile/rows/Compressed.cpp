#include "Shorthand.hpp"

#include <zlib.h>

#include <stdexcept>

namespace hostile
{

namespace
{

constexpr int GZIP = MAX_WBITS + 16;
constexpr int ZLIB = MAX_WBITS;
constexpr int RAW = -MAX_WBITS;

std::string compressed(const std::string& text, int windowBits = GZIP)
{
    z_stream stream{};
    if (::deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    {
        throw std::runtime_error("deflateInit2");
    }
    std::string out(::deflateBound(&stream, text.size()) + 32, '\0');
    stream.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<unsigned>(text.size());
    stream.next_out = reinterpret_cast<unsigned char*>(out.data());
    stream.avail_out = static_cast<unsigned>(out.size());
    ::deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    ::deflateEnd(&stream);
    return out;
}

/// A member of gzip's format that holds 1 MiB of zeros in about 5 KiB.
std::string bomb()
{
    return compressed(std::string(MIB, '\0'));
}

std::string coded(const std::string& coding)
{
    return OK + "Content-Encoding: " + coding + "\r\n\r\n";
}

/// getPage() does not undo compression.
Row decoding(const char* name, const char* what, const std::string& coding, const std::string& body,
             ExchangeOutcome exchange)
{
    return Row(name, what, responds(coded(coding) + body), std::move(exchange), returns(200, body)).decompressing();
}

std::vector<Row> whole()
{
    const std::string hello = compressed("hello");
    std::string withName = hello;
    withName[3] = '\x08';
    withName.insert(10, "a name\0"s);
    return {
        decoding("GzipWhole", "compresses its body", "gzip", hello, gives(200, "hello")),
        decoding("GzipTwoMembers", "sends two compressed members", "gzip", hello + hello, gives(200, "hellohello")),
        decoding("GzipWithName", "names a file in the compressed data", "gzip", withName, gives(200, "hello")),
        decoding("GzipEmptyBody", "sends no byte of compressed data", "gzip", "", gives(200, "")),
        decoding("GzipOfNothing", "compresses an empty body", "gzip", compressed(""), gives(200, "")),
        decoding("DeflateOfZlib", "sends deflate in zlib's frame", "deflate", compressed("hello", ZLIB),
                 gives(200, "hello")),
        decoding("DeflateRaw", "sends deflate without a frame", "deflate", compressed("hello", RAW),
                 gives(200, "hello")),
        decoding("CodingOfContentUnknown", "names an unknown content coding", "br", hello, gives(200, hello)),
        decoding("CodingOfContentTwice", "names two content codings", "gzip, gzip", compressed(hello),
                 gives(200, compressed(hello))),
        Row("GzipOfARange", "sends a compressed range", responds("HTTP/1.1 206 X\r\nContent-Encoding: gzip\r\n\r\nhel"),
            gives(206, "hel"), returns(206, "hel"))
            .decompressing(),
        Row("GzipNotAskedFor", "compresses though nobody asked for that", responds(coded("gzip") + hello),
            gives(200, hello), returns(200, hello)),
    };
}

std::vector<Row> bombs()
{
    const std::string one = bomb();
    return {
        Row("GzipBomb", "sends 1 GiB of zeros in 5 MiB, and 8 MiB are allowed",
            {request(), send(coded("gzip")), send(one, 1024)}, gives(200, Bytes("\0"s, 8 * MIB), R::E_TOO_LARGE),
            returns(200, Bytes(one, 1024)))
            .decompressing()
            .bodyLimit(8 * MIB),
        Row("GzipBombOfTheLimit", "sends 8 MiB of zeros, and 8 MiB are allowed",
            {request(), send(coded("gzip")), send(one, 8)}, gives(200, Bytes("\0"s, 8 * MIB)),
            returns(200, Bytes(one, 8)))
            .decompressing()
            .bodyLimit(8 * MIB),
        Row("GzipBombReadAll", "sends 1 GiB of zeros to a reader of all",
            {request(), send(coded("gzip")), send(one, 1024)}, failsBehind({}, X::E_LIMIT, R::E_OPEN),
            returns(200, Bytes(one, 1024)))
            .decompressing()
            .reading(E_READ_ALL)
            .memory(320 * MIB),
        Row("GzipFloodOfEmptyMembers", "sends 100000 members that hold nothing",
            {request(), send(coded("gzip")), send(compressed(""), 100000)}, gives(200, ""),
            returns(200, Bytes(compressed(""), 100000)))
            .decompressing(),
        Row("GzipFloodOfAName", "sends a name of 16 MiB in the compressed data",
            {request(), send(coded("gzip") + "\x1f\x8b\x08\x08\0\0\0\0\0\x03"s), send("n", 16 * MIB)},
            gives(200, "", R::E_CUT), returns(200, "\x1f\x8b\x08\x08\0\0\0\0\0\x03"s + std::string(16 * MIB, 'n')))
            .decompressing(),
        Row("GzipDripOfAName", "drips a name in the compressed data",
            {request(), send(coded("gzip") + "\x1f\x8b\x08\x08\0\0\0\0\0\x03"s), dripForever("n")},
            gives(200, "", R::E_DEADLINE), doesNotReturn())
            .decompressing()
            .times(SHORT)
            .deadline(2 * SHORT),
    };
}

std::vector<Row> broken()
{
    const std::string hello = compressed("hello");
    std::string wrongSum = hello;
    wrongSum[hello.size() - 8] = static_cast<char>(wrongSum[hello.size() - 8] ^ 1);
    std::string wrongSize = hello;
    wrongSize[hello.size() - 4] = static_cast<char>(wrongSize[hello.size() - 4] ^ 1);
    std::string reservedBit = hello;
    reservedBit[3] = '\xe0';
    std::string badBlock = hello.substr(0, 10) + "\x07" + hello.substr(11);
    const auto malformed =
        [](const char* name, const char* what, const char* coding, const std::string& body, const char* before)
    { return decoding(name, what, coding, body, gives(200, before, R::E_MALFORMED)); };
    const auto cutBehind =
        [](const char* name, const char* what, const char* coding, const std::string& body, const char* before)
    { return decoding(name, what, coding, body, gives(200, before, R::E_CUT)); };
    return {
        cutBehind("GzipCutInItsHead", "closes within the head of the compressed data", "gzip", hello.substr(0, 5), ""),
        cutBehind("GzipCutOfOneByte", "closes behind one byte of compressed data", "gzip", hello.substr(0, 1), ""),
        cutBehind("GzipCutInItsData", "closes within the compressed data", "gzip", hello.substr(0, 12), "h"),
        cutBehind("GzipCutInItsSum", "closes within the check sum", "gzip", hello.substr(0, hello.size() - 6), "hello"),
        cutBehind("GzipCutInItsSize", "closes within the size", "gzip", hello.substr(0, hello.size() - 1), "hello"),
        cutBehind("GzipCutInTheSecondMember", "closes within the second member", "gzip", hello + hello.substr(0, 5),
                  "hello"),
        cutBehind("DeflateCut", "closes within the check sum of zlib's frame", "deflate",
                  compressed("hello", ZLIB).substr(0, compressed("hello", ZLIB).size() - 1), "hello"),
        malformed("GzipWithTrailingGarbage", "sends text behind the compressed data", "gzip", hello + "garbage",
                  "hello"),
        malformed("GzipWithTrailingZeros", "sends zeros behind the compressed data", "gzip",
                  hello + std::string(100, '\0'), "hello"),
        malformed("DeflateWithTrailingGarbage", "sends text behind deflated data", "deflate",
                  compressed("hello", ZLIB) + "garbage", "hello"),
        malformed("GzipWithWrongSum", "sends a wrong check sum", "gzip", wrongSum, "hello"),
        malformed("GzipWithWrongSize", "sends a wrong size", "gzip", wrongSize, "hello"),
        malformed("GzipWithReservedBits", "sets bits that are reserved", "gzip", reservedBit, ""),
        malformed("GzipWithBadBlock", "sends a block of an unknown kind", "gzip", badBlock, ""),
        malformed("GzipOfText", "sends text as compressed data", "gzip", "hello, this is not compressed", ""),
        malformed("DeflateOfText", "sends text as deflated data", "deflate", "hello, this is not compressed", ""),
        Row("GzipResetIn", "resets within the compressed data",
            {request(), send(coded("gzip") + hello.substr(0, hello.size() - 6)), reset()},
            gives(200, "hello", R::E_RESET), returnsCut(200, hello.substr(0, hello.size() - 6)))
            .decompressing(),
        Row("GzipStallIn", "falls silent within the compressed data",
            {request(), send(coded("gzip") + hello.substr(0, hello.size() - 6)), stall()},
            gives(200, "hello", R::E_TIMED_OUT), returnsCut(200, hello.substr(0, hello.size() - 6)))
            .decompressing()
            .times(SHORT),
        Row("GzipShorterThanItsLength", "announces more compressed bytes than it sends",
            responds(OK + "Content-Encoding: gzip\r\nContent-Length: 1000\r\n\r\n" + hello),
            gives(200, "hello", R::E_CUT), returns(200, hello))
            .decompressing(),
        Row("GzipInBrokenChunks", "sends whole compressed data in a chunked body that is cut",
            responds(OK + "Content-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n\r\n19\r\n" + hello + "\r\n"),
            gives(200, "hello", R::E_CUT), returnsCut(200, hello))
            .decompressing(),
    };
}

} // namespace

std::vector<Row> compressedRows()
{
    std::vector<Row> rows;
    for (auto* make : {whole, bombs, broken})
    {
        for (Row& row : make())
        {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace hostile
