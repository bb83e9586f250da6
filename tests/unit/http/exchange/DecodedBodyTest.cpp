#include "exchange/DecodedBody.hpp"

#include "ExchangeWith.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TextOf.hpp"

#include "zol/mime/ContentException.hpp"

#include <zlib.h>

#include <stdexcept>
#include <string>

namespace
{

using namespace exchange_test;

constexpr int GZIP = MAX_WBITS + 16;
constexpr int ZLIB = MAX_WBITS;
constexpr int RAW = -MAX_WBITS;

std::string compressed(const std::string& bytes, int windowBits)
{
    z_stream stream{};
    if (::deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    {
        throw std::runtime_error("deflateInit2");
    }
    std::string out(::deflateBound(&stream, bytes.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    ::deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    ::deflateEnd(&stream);
    return out;
}

std::string wire(const std::string& coding, const std::string& body, const std::string& status = "200 OK")
{
    return "HTTP/1.1 " + status + "\r\nContent-Encoding: " + coding +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

ExchangeOptions decompressing()
{
    ExchangeOptions options;
    options.decompress = true;
    return options;
}

const std::string TEXT = []
{
    std::string text;
    for (int i = 0; i < 20000; ++i)
    {
        text += std::to_string(i * 31) + " ";
    }
    return text;
}();

TEST(ExchangeDecoding, UndoesGzipAndDeflateWithAndWithoutFrame)
{
    for (const auto& [coding, bits] :
         {std::pair{"gzip", GZIP}, {"x-gzip", GZIP}, {"GZIP", GZIP}, {"deflate", ZLIB}, {"deflate", RAW}})
    {
        SCOPED_TRACE(coding + std::to_string(bits));
        const ExchangeResponse response = responseTo(wire(coding, compressed(TEXT, bits)), decompressing());
        EXPECT_FALSE(response.getContent()->hasContentLength());
        EXPECT_THROW(response.getContent()->getContentLength(), ZOLNS2::MIME::ContentException);
        EXPECT_TRUE(bodyOf(response) == TEXT);
        EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE);
    }
}

TEST(ExchangeDecoding, TakesMembersOneBehindTheOther)
{
    EXPECT_EQ(bodyOf(responseTo(wire("gzip", compressed("one ", GZIP) + compressed("two", GZIP)), decompressing())),
              "one two");
}

TEST(ExchangeDecoding, DeliversWhatCameBeforeAWrongCheckSum)
{
    std::string body = compressed("body", GZIP);
    body[body.size() - 8] = static_cast<char>(body[body.size() - 8] ^ 1);
    const ExchangeResponse response = responseTo(wire("gzip", body), decompressing());
    EXPECT_EQ(zol_test::textOf(response.getContent()), "body");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_MALFORMED);
}

TEST(ExchangeDecoding, LeavesTheConnectionReusable)
{
    const std::string body = compressed("body", GZIP);
    zol_test::ScriptedServer server(
        [&](zol_test::ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(wire("gzip", body));
            connection.waitUntilPeerCloses();
        });
    const ExchangeResponse response = exchange(get(server), decompressing());
    EXPECT_EQ(bodyOf(response), "body");
    EXPECT_TRUE(response.reusable());
}

TEST(ExchangeDecoding, AsksForItUnlessTheRequestDoes)
{
    zol_test::ScriptedServer server(zol_test::respondingWith("HTTP/1.1 204 No Content\r\n\r\n"));
    exchange(get(server), decompressing());
    exchange(get(server));
    Headers own;
    own.addHeader("Accept-Encoding", "br");
    exchange(requestOf("GET", server.address(), own), decompressing());
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_NE(server.requests().at(0).find("\r\nAccept-Encoding: gzip, deflate\r\n"), std::string::npos);
    EXPECT_EQ(server.requests().at(1).find("Accept-Encoding"), std::string::npos);
    EXPECT_EQ(server.requests().at(2).find("gzip"), std::string::npos);
}

TEST(ExchangeDecoding, IsNotDoneUnlessAskedFor)
{
    const std::string body = compressed("body", GZIP);
    const ExchangeResponse response = responseTo(wire("gzip", body));
    EXPECT_TRUE(response.getContent()->hasContentLength());
    EXPECT_TRUE(bodyOf(response) == body);
}

TEST(ExchangeDecoding, LeavesPartsAndUnknownCodingsAlone)
{
    const std::string body = compressed("body", GZIP);
    EXPECT_TRUE(bodyOf(responseTo(wire("gzip", body, "206 Partial Content"), decompressing())) == body);
    EXPECT_TRUE(bodyOf(responseTo(wire("br", body), decompressing())) == body);
    EXPECT_TRUE(bodyOf(responseTo(wire("gzip, gzip", body), decompressing())) == body);
    EXPECT_TRUE(bodyOf(responseTo(wire("identity", body), decompressing())) == body);
}

TEST(ExchangeDecoding, LeavesAnAnswerToRangeAlone)
{
    const std::string body = compressed("body", GZIP);
    zol_test::ScriptedServer server(zol_test::respondingWith(wire("gzip", body)));
    Headers range;
    range.addHeader("Range", "bytes=0-");
    EXPECT_TRUE(bodyOf(exchange(requestOf("GET", server.address(), range), decompressing())) == body);
    EXPECT_EQ(server.requests().at(0).find("Accept-Encoding"), std::string::npos);
}

TEST(ExchangeDecoding, CutDataIsACut)
{
    for (const auto& [coding, bits] : {std::pair{"gzip", GZIP}, {"deflate", ZLIB}, {"deflate", RAW}})
    {
        const std::string whole = compressed("some text that is cut", bits);
        for (size_t length = 1; length < whole.size(); ++length)
        {
            const ExchangeResponse response = responseTo(wire(coding, whole.substr(0, length)), decompressing());
            bodyOf(response);
            EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_CUT)
                << coding << bits << " " << length << ": " << response.bodyEndText();
        }
    }
}

TEST(ExchangeDecoding, ACutConnectionIsACut)
{
    const std::string body = compressed(TEXT, GZIP);
    const ExchangeResponse response =
        responseTo("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " + std::to_string(body.size()) +
                       "\r\n\r\n" + body.substr(0, 1000),
                   decompressing());
    const std::string got = bodyOf(response);
    EXPECT_FALSE(got.empty());
    EXPECT_EQ(TEXT.compare(0, got.size(), got), 0);
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_CUT);
    EXPECT_NE(textOf(response.bodyEndText()).find("announced length"), std::string::npos);
}

TEST(ExchangeDecoding, BytesBehindTheDataAreMalformed)
{
    for (const auto& [coding, bits] : {std::pair{"gzip", GZIP}, {"deflate", ZLIB}, {"deflate", RAW}})
    {
        const ExchangeResponse response = responseTo(wire(coding, compressed("body", bits) + "XY"), decompressing());
        EXPECT_EQ(bodyOf(response), "body");
        EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_MALFORMED) << coding << bits;
    }
}

TEST(ExchangeDecoding, DamagedDataIsMalformed)
{
    std::string body = compressed(TEXT, GZIP);
    body[body.size() / 2] = static_cast<char>(body[body.size() / 2] ^ 0x55);
    const ExchangeResponse response = responseTo(wire("gzip", body), decompressing());
    bodyOf(response);
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_MALFORMED);
    const ExchangeResponse plain = responseTo(wire("gzip", "no gzip at all"), decompressing());
    EXPECT_EQ(bodyOf(plain), "");
    EXPECT_EQ(plain.bodyEnd(), ExchangeResponse::E_MALFORMED);
}

TEST(ExchangeDecoding, AnEmptyBodyIsComplete)
{
    const ExchangeResponse response = responseTo(
        "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", decompressing());
    EXPECT_EQ(bodyOf(response), "");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE);
}

TEST(ExchangeDecoding, LimitsCountDecodedBytes)
{
    const std::string bomb = compressed(std::string(1000000, '\0'), GZIP);
    ASSERT_LT(bomb.size(), 2000U);
    ExchangeOptions options = decompressing();
    options.bodyLimit = 10000;
    const ExchangeResponse response = responseTo(wire("gzip", bomb), options);
    EXPECT_EQ(bodyOf(response).size(), 10000U);
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_TOO_LARGE);
    expectFailure([&] { responseTo(wire("gzip", bomb), decompressing()).readAll(5000); }, ExchangeException::E_BODY,
                  ExchangeException::E_LIMIT, "larger than 5000 bytes");
}

} // namespace
