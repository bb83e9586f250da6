#include "exchange/FramedBody.hpp"

#include "ExchangeWith.hpp"

#include "zol/http/MIMEContentIStream.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/ContentException.hpp"

#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace exchange_test;

const std::string OK = "HTTP/1.1 200 OK\r\n";
const std::string CHUNKED = OK + "Transfer-Encoding: chunked\r\n\r\n";

struct Ended
{
    std::string bytes;
    ExchangeResponse::EBodyEnd end;
    std::string text;
};

Ended endedOf(const ExchangeResponse& response)
{
    std::string bytes = bodyOf(response);
    return {bytes, response.bodyEnd(), textOf(response.bodyEndText())};
}

void expectEnd(const std::string& wire, const std::string& bytes, ExchangeResponse::EBodyEnd end,
               const std::string& words = "")
{
    SCOPED_TRACE(wire.substr(0, 200));
    const Ended ended = endedOf(responseTo(wire));
    EXPECT_EQ(ended.bytes, bytes);
    EXPECT_EQ(ended.end, end) << ended.text;
    EXPECT_NE(ended.text.find(words), std::string::npos) << ended.text;
    EXPECT_EQ(ended.text.empty(), end == ExchangeResponse::E_COMPLETE);
}

void expectMalformedHead(const std::string& fields, const std::string& words)
{
    expectFailure([&] { responseTo(OK + fields + "\r\nbody"); }, ExchangeException::E_HEAD,
                  ExchangeException::E_MALFORMED, words);
}

TEST(ExchangeBody, EndsWithItsLength)
{
    expectEnd(OK + "Content-Length: 4\r\n\r\nbodybehind", "body", ExchangeResponse::E_COMPLETE);
    expectEnd(OK + "content-length: 4, 4\r\nContent-Length: 4\r\n\r\nbodybehind", "body", ExchangeResponse::E_COMPLETE);
    expectEnd(OK + "Content-Length: 0\r\n\r\nbehind", "", ExchangeResponse::E_COMPLETE);
}

TEST(ExchangeBody, ShortOfItsLengthIsCut)
{
    expectEnd(OK + "Content-Length: 10\r\n\r\nbody", "body", ExchangeResponse::E_CUT,
              "6 bytes before its announced length of 10");
}

TEST(ExchangeBody, WithoutLengthEndsWithTheConnection)
{
    expectEnd(OK + "\r\nbody", "body", ExchangeResponse::E_COMPLETE);
    expectEnd(OK + "\r\n", "", ExchangeResponse::E_COMPLETE);
}

TEST(ExchangeBody, WithoutLengthIsResetByAReset)
{
    zol_test::ScriptedServer server(
        [](zol_test::ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(OK + "\r\nbody");
            connection.pause(std::chrono::milliseconds(200));
            connection.reset();
        });
    const Ended ended = endedOf(exchange(get(server)));
    EXPECT_EQ(ended.bytes, "body");
    EXPECT_EQ(ended.end, ExchangeResponse::E_RESET);
    EXPECT_NE(ended.text.find("104("), std::string::npos) << ended.text;
}

TEST(ExchangeBody, IsDechunked)
{
    expectEnd(CHUNKED + "4\r\nbody\r\n6;x=\"y\"\r\n chunk\r\n0\r\n\r\n", "body chunk", ExchangeResponse::E_COMPLETE);
    expectEnd(OK + "Transfer-Encoding: Chunked\r\nContent-Length: 3\r\n\r\n4\r\nbody\r\n0\r\n\r\n", "body",
              ExchangeResponse::E_COMPLETE);
}

/// Reads with much room at a time.
std::string readInBlocks(const ExchangeResponse& response)
{
    std::string all;
    const ZOLNS2::MIME::ContentRef content = response.getContent();
    const ZOLNS2::MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::vector<char> block(65536);
    size_t count = 0;
    while ((count = content->getData(block.data(), block.size(), state)) != ZOLNS2::MIME::END_OF_DATA)
    {
        all.append(block.data(), count);
    }
    return all;
}

TEST(ExchangeBody, OfEqualChunksIsDechunkedAndKeepsTheConnection)
{
    std::string wire = CHUNKED;
    std::string data;
    for (int chunk = 0; chunk < 40; ++chunk)
    {
        // In the middle there is one of another size.
        data += std::string(chunk == 20 ? 9000 : 16384, static_cast<char>('a' + chunk % 26));
        const std::string bytes = data.substr(data.size() - (chunk == 20 ? 9000 : 16384));
        wire += (chunk == 20 ? "2328\r\n" : "4000\r\n") + bytes + "\r\n";
    }
    for (const std::string end : {"0\r\n\r\n", "0\r\nX: 1\r\n\r\n"})
    {
        zol_test::ScriptedServer server(
            [&](zol_test::ServerConnection& connection)
            {
                for (int request = 0; request < 2; ++request)
                {
                    connection.receiveHead();
                    connection.send(wire + end);
                }
                connection.waitUntilPeerCloses();
            });
        const ExchangeResponse first = exchange(get(server));
        EXPECT_TRUE(readInBlocks(first) == data);
        EXPECT_EQ(first.bodyEnd(), ExchangeResponse::E_COMPLETE);
        ASSERT_TRUE(first.reusable());
        ZOLNS2::HTTP::ExchangeConnection connection = first.getConnection();
        EXPECT_TRUE(readInBlocks(exchange(connection, get(server))) == data);
        EXPECT_EQ(server.connections(), 1U);
    }
}

TEST(ExchangeBody, ChunkedIsCutBeforeItsLastChunk)
{
    expectEnd(CHUNKED, "", ExchangeResponse::E_CUT, "before its last chunk");
    expectEnd(CHUNKED + "4\r\nbo", "bo", ExchangeResponse::E_CUT);
    expectEnd(CHUNKED + "4\r\nbody\r\n", "body", ExchangeResponse::E_CUT);
    expectEnd(CHUNKED + "4\r\nbody\r\n0", "body", ExchangeResponse::E_CUT);
    expectEnd(CHUNKED + "4\r\nbody\r\n0\r", "body", ExchangeResponse::E_CUT);
}

TEST(ExchangeBody, ChunkedIsCompleteBehindTheLineOfItsLastChunk)
{
    expectEnd(CHUNKED + "4\r\nbody\r\n0\r\n", "body", ExchangeResponse::E_COMPLETE);
    expectEnd(CHUNKED + "4\r\nbody\r\n0\r\nX: 1", "body", ExchangeResponse::E_COMPLETE);
}

TEST(ExchangeBody, MalformedChunksAreSaidSo)
{
    expectEnd(CHUNKED + "4\r\nbodyX\r\n0\r\n\r\n", "body", ExchangeResponse::E_MALFORMED, "chunked coding");
    expectEnd(CHUNKED + "xyz\r\n", "", ExchangeResponse::E_MALFORMED);
    expectEnd(CHUNKED + "11111111111111111\r\n", "", ExchangeResponse::E_MALFORMED);
}

TEST(ExchangeBody, TrailerIsReadAndDropped)
{
    const ExchangeResponse response = responseTo(CHUNKED + "4\r\nbody\r\n0\r\nX-Late: 1\r\nY: 2\r\n\r\n");
    EXPECT_EQ(bodyOf(response), "body");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE);
    EXPECT_TRUE(response.getHeaders().getHeaderValue("X-Late").empty());
}

TEST(ExchangeBody, TrailerIsHeldToTheHeadsLimits)
{
    expectEnd(CHUNKED + "0\r\nno colon\r\n\r\n", "", ExchangeResponse::E_MALFORMED, "line 1 has no colon");
    expectEnd(CHUNKED + "0\r\nX: " + std::string(70000, 'a') + "\r\n\r\n", "", ExchangeResponse::E_TOO_LARGE,
              "longer than 65536");
    ExchangeOptions options;
    options.headLimit = CHUNKED.size() + 10;
    const Ended ended = endedOf(responseTo(CHUNKED + "0\r\nX: 123456\r\n\r\n", options));
    EXPECT_EQ(ended.end, ExchangeResponse::E_TOO_LARGE) << ended.text;
}

TEST(ExchangeBody, NoneForHeadNoContentAndNotModified)
{
    zol_test::ScriptedServer server(
        [](zol_test::ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(OK + "Content-Length: 10\r\n\r\n");
            connection.waitUntilPeerCloses();
        });
    const ExchangeResponse head = exchange(requestOf("HEAD", server.address()));
    EXPECT_EQ(head.bodyEnd(), ExchangeResponse::E_COMPLETE);
    EXPECT_EQ(bodyOf(head), "");
    EXPECT_TRUE(head.reusable());
    expectEnd("HTTP/1.1 204 No Content\r\n\r\nbehind", "", ExchangeResponse::E_COMPLETE);
    expectEnd("HTTP/1.1 304 Not Modified\r\nContent-Length: 5\r\n\r\nbehind", "", ExchangeResponse::E_COMPLETE);
    expectEnd("HTTP/1.1 204 No Content\r\nTransfer-Encoding: chunked\r\n\r\n4\r\n", "", ExchangeResponse::E_COMPLETE);
}

TEST(ExchangeBody, ContradictingFramingIsMalformed)
{
    expectMalformedHead("Content-Length: 4\r\nContent-Length: 5\r\n", "Content-Length is both 4 and 5");
    expectMalformedHead("Content-Length: 4, 5\r\n", "Content-Length is both 4 and 5");
    expectMalformedHead("Content-Length: +4\r\n", "Content-Length is no length: \"+4\"");
    expectMalformedHead("Content-Length: 0x4\r\n", "no length");
    expectMalformedHead("Content-Length: 18446744073709551616\r\n", "no length");
    expectMalformedHead("Content-Length:\r\n", "Content-Length is empty");
    expectMalformedHead("Transfer-Encoding: gzip, chunked\r\n", "not exactly \"chunked\": \"gzip\"");
    expectMalformedHead("Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n", "not exactly");
    expectMalformedHead("Transfer-Encoding: identity\r\n", "identity");
    expectMalformedHead("Transfer-Encoding:\r\n", "not exactly");
}

TEST(ExchangeBody, IsReadOnce)
{
    const ExchangeResponse response = responseTo(OK + "Content-Length: 4\r\n\r\nbody");
    response.getContent()->createInitialStreamState();
    EXPECT_THROW(response.getContent()->createInitialStreamState(), ZOLNS2::MIME::ContentException);
    EXPECT_THROW(response.readAll(), ZOLNS2::MIME::ContentException);
}

TEST(ExchangeBody, HandsOverWhatHasArrived)
{
    zol_test::ScriptedServer server(
        [](zol_test::ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send(OK + "Content-Length: 8\r\n\r\nbody");
            connection.waitUntilPeerCloses();
        });
    const ExchangeResponse response = exchange(get(server));
    const auto state = response.getContent()->createInitialStreamState();
    std::string block(100000, '\0');
    EXPECT_EQ(response.getContent()->getData(block.data(), block.size(), state), 4U);
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_OPEN);
}

TEST(ExchangeBody, ThatIsNotCompleteLeavesItsStreamBad)
{
    const ExchangeResponse response = responseTo(OK + "Content-Length: 10\r\n\r\nbody");
    ZOLNS2::HTTP::MIMEContentIStream stream(response.getContent());
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    EXPECT_EQ(bytes.str(), "body");
    EXPECT_TRUE(stream.bad());
}

TEST(ExchangeBody, ThatIsCompleteLeavesItsStreamSound)
{
    const ExchangeResponse response = responseTo(CHUNKED + "4\r\nbody\r\n0\r\n\r\n");
    ZOLNS2::HTTP::MIMEContentIStream stream(response.getContent());
    std::string word;
    stream >> word;
    EXPECT_EQ(word, "body");
    EXPECT_TRUE(stream.eof());
    EXPECT_FALSE(stream.bad());
}

TEST(ExchangeBody, LargeOnesArriveWhole)
{
    std::string bytes;
    for (int i = 0; bytes.size() < 1000000; ++i)
    {
        bytes += std::to_string(i * 7919) + ",";
    }
    expectEnd(OK + "Content-Length: " + std::to_string(bytes.size()) + "\r\n\r\n" + bytes, bytes,
              ExchangeResponse::E_COMPLETE);
    for (const size_t size : {size_t{100}, size_t{9000}, size_t{70000}})
    {
        std::string wire = CHUNKED;
        for (size_t at = 0; at < bytes.size(); at += size)
        {
            const std::string chunk = bytes.substr(at, size);
            std::ostringstream line;
            line << std::hex << chunk.size() << "\r\n";
            wire += line.str() + chunk + "\r\n";
        }
        const ExchangeResponse response = responseTo(wire + "0\r\n\r\n");
        const blocxx::Array<char> all = response.readAll();
        EXPECT_TRUE(std::string(all.begin(), all.end()) == bytes) << size;
    }
}

TEST(ExchangeReadAll, ThrowsForABodyThatIsNotComplete)
{
    const auto failure = failureOf([] { responseTo("HTTP/1.1 500 Oops\r\nContent-Length: 10\r\n\r\nbody").readAll(); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->phase(), ExchangeException::E_BODY);
    EXPECT_EQ(failure->cause(), ExchangeException::E_CUT);
    EXPECT_EQ(failure->status(), 500);
}

TEST(ExchangeWriteTo, WritesTheBody)
{
    std::ostringstream out;
    responseTo(OK + "Content-Length: 4\r\n\r\nbody").writeTo(out);
    EXPECT_EQ(out.str(), "body");
    responseTo(OK + "Content-Length: 0\r\n\r\n").writeTo(out);
    EXPECT_TRUE(out.good());
}

TEST(ExchangeWriteTo, ThrowsForABodyThatIsNotCompleteBehindWhatArrived)
{
    std::ostringstream out;
    expectFailure([&] { responseTo(OK + "Content-Length: 10\r\n\r\nbody").writeTo(out); }, ExchangeException::E_BODY,
                  ExchangeException::E_CUT, "The body ended 6 bytes before its announced length of 10");
    EXPECT_EQ(out.str(), "body");
}

TEST(ExchangeWriteTo, StopsWhereTheStreamFails)
{
    const ExchangeResponse response = responseTo(OK + "Content-Length: 4\r\n\r\nbody");
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    response.writeTo(out);
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_OPEN);
}

TEST(ExchangeReadAll, LimitHoldsOnBothSides)
{
    for (const std::string& head : {OK + "Content-Length: 4\r\n\r\n", OK + "\r\n"})
    {
        SCOPED_TRACE(head);
        EXPECT_EQ(responseTo(head + "body").readAll(4).size(), 4U);
        expectFailure([&] { responseTo(head + "body").readAll(3); }, ExchangeException::E_BODY,
                      ExchangeException::E_LIMIT, "larger than 3 bytes");
    }
}

TEST(ExchangeBody, LimitHoldsOnBothSides)
{
    ExchangeOptions options;
    options.bodyLimit = 4;
    EXPECT_EQ(endedOf(responseTo(OK + "\r\nbody", options)).end, ExchangeResponse::E_COMPLETE);
    const Ended ended = endedOf(responseTo(OK + "\r\nbodyX", options));
    EXPECT_EQ(ended.bytes, "body");
    EXPECT_EQ(ended.end, ExchangeResponse::E_TOO_LARGE);
    EXPECT_EQ(ended.text, "The body is larger than 4 bytes");
}

} // namespace
