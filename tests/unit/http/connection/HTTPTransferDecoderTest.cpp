#include "zol/http/HTTPTransferDecoder.hpp"

#include "support/ConnectTo.hpp"
#include "support/LogLines.hpp"
#include "support/ScriptedServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <iterator>
#include <memory>
#include <string>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using zol_test::connectTo;
using zol_test::logLines;
using zol_test::ScriptedServer;
using zol_test::sending;
using zol_test::ServerConnection;
using ZOLNS2::HTTP::ChunkedTransferDecoder;
using ZOLNS2::HTTP::DefaultTransferDecoder;
using ZOLNS2::HTTP::getTransferDecoder;
using ZOLNS2::HTTP::Headers;
using ZOLNS2::HTTP::HTTPConnection;
using ZOLNS2::HTTP::HTTPTransferDecoderRef;

Headers headersWith(const char* name, const char* value)
{
    Headers headers;
    headers.addHeader(name, value);
    return headers;
}

Headers chunked()
{
    return headersWith("Transfer-Encoding", "chunked");
}

HTTPTransferDecoderRef decoderFor(const ScriptedServer& server, const Headers& headers)
{
    HTTPConnection connection = connectTo(server);
    return getTransferDecoder(connection, headers);
}

std::string readAll(const HTTPTransferDecoderRef& decoder)
{
    std::string body;
    char block[1000];
    while (decoder->istream())
    {
        decoder->istream().read(block, sizeof block);
        body.append(block, static_cast<size_t>(decoder->istream().gcount()));
    }
    return body;
}

void idle(ServerConnection& peer)
{
    peer.waitUntilPeerCloses();
}

/// Sends all of `wire` and makes sure that it has arrived before the connection is reset.
ScriptedServer::Script resettingAfter(const std::string& wire)
{
    return [wire](ServerConnection& peer)
    {
        peer.send(wire);
        peer.receive(1);
        peer.reset();
    };
}

/// Reads `count` bytes, lets the server of `resettingAfter` continue, and reads to the end.
std::string readAcrossReset(const HTTPTransferDecoderRef& decoder, size_t count)
{
    std::string body(count, '\0');
    decoder->istream().read(body.data(), static_cast<std::streamsize>(count));
    decoder->getConnection().ostream() << 'x' << std::flush;
    return body + readAll(decoder);
}

TEST(HTTPTransferDecoder, ChunkedInAnyCaseIsChunked)
{
    ScriptedServer server(idle);
    for (const char* const coding : {"chunked", "CHUNKED", "Chunked"})
    {
        EXPECT_TRUE(decoderFor(server, headersWith("Transfer-Encoding", coding)).cast_to<ChunkedTransferDecoder>())
            << coding;
    }
}

TEST(HTTPTransferDecoder, HeaderNameIsFoundInAnyCase)
{
    ScriptedServer server(idle);
    for (const char* const name : {"transfer-encoding", "Transfer-Encoding", "TRANSFER-ENCODING"})
    {
        EXPECT_TRUE(decoderFor(server, headersWith(name, "chunked")).cast_to<ChunkedTransferDecoder>()) << name;
    }
}

TEST(HTTPTransferDecoder, EverythingButChunkedIsIdentity)
{
    ScriptedServer server(idle);
    for (const char* const coding :
         {"", "identity", "gzip", "gzip, chunked", "chunked, chunked", " chunked", "chunked ", "chunke", "chunkedx"})
    {
        EXPECT_TRUE(decoderFor(server, headersWith("Transfer-Encoding", coding)).cast_to<DefaultTransferDecoder>())
            << coding;
    }
}

TEST(HTTPTransferDecoder, NoHeaderIsIdentity)
{
    ScriptedServer server(idle);
    EXPECT_TRUE(decoderFor(server, Headers()).cast_to<DefaultTransferDecoder>());
    EXPECT_TRUE(decoderFor(server, headersWith("X", "chunked")).cast_to<DefaultTransferDecoder>());
}

TEST(HTTPTransferDecoder, LogsTheEncodingInQuotes)
{
    ScriptedServer server(idle);
    const zol_test::LogCapture log(blocxx::E_DEBUG2_LEVEL);
    decoderFor(server, headersWith("Transfer-Encoding", "Gzip"));
    decoderFor(server, Headers());
    EXPECT_THAT(logLines(log, "zol.common.http"),
                ElementsAre("DEBUG2 response: Creating transfer decoder for transfer encoding \"Gzip\"",
                            "DEBUG2 response: Creating transfer decoder for transfer encoding \"\""));
}

TEST(HTTPTransferDecoder, LogsNothingBelowDebug2)
{
    ScriptedServer server(idle);
    const zol_test::LogCapture log(blocxx::E_DEBUG_LEVEL);
    decoderFor(server, chunked());
    EXPECT_THAT(logLines(log, "zol.common.http"), IsEmpty());
}

TEST(HTTPTransferDecoder, IdentityIsTheConnectionsOwnInput)
{
    const std::string wire("5\r\nraw\0bytes", 12);
    ScriptedServer server(sending(wire));
    HTTPConnection connection = connectTo(server);
    const HTTPTransferDecoderRef decoder = getTransferDecoder(connection, headersWith("Transfer-Encoding", "gzip"));
    EXPECT_EQ(&decoder->istream(), &connection.istream());
    EXPECT_EQ(&decoder->istream(), &decoder->getInputStream());
    EXPECT_EQ(readAll(decoder), wire);
}

TEST(HTTPTransferDecoder, ChunkedRemovesTheFraming)
{
    ScriptedServer server(sending("5\r\nhello\r\n7;x=y\r\n, world\r\n0\r\nTrailer: z\r\n\r\n"));
    const HTTPTransferDecoderRef decoder = decoderFor(server, chunked());
    EXPECT_EQ(&decoder->istream(), &decoder->getInputStream());
    EXPECT_NE(&decoder->istream(), &decoder->getConnection().istream());
    EXPECT_EQ(readAll(decoder), "hello, world");
}

TEST(HTTPTransferDecoder, LastReferenceClosesTheSocket)
{
    for (const Headers& headers : {Headers(), chunked()})
    {
        ScriptedServer server([](ServerConnection& peer) { EXPECT_TRUE(peer.waitUntilPeerCloses()); });
        HTTPTransferDecoderRef decoder = decoderFor(server, headers);
        HTTPTransferDecoderRef second = decoder;
        ASSERT_TRUE(server.waitForConnections(1));
        decoder = HTTPTransferDecoderRef();
        EXPECT_FALSE(server.waitUntilIdle(std::chrono::milliseconds(100))) << "the decoder holds the connection";
        second = HTTPTransferDecoderRef();
        EXPECT_TRUE(server.waitUntilIdle());
    }
}

TEST(HTTPTransferDecoder, IdentityBodyIsCompleteAtTheOrderlyEnd)
{
    ScriptedServer server(sending("hello"));
    const HTTPTransferDecoderRef decoder = decoderFor(server, headersWith("Content-Length", "10"));
    EXPECT_FALSE(decoder->bodyIsComplete()) << "nothing has been read";
    char block[5];
    decoder->istream().read(block, sizeof block);
    EXPECT_FALSE(decoder->bodyIsComplete()) << "the end has not been seen";
    EXPECT_EQ(readAll(decoder), "");
    EXPECT_TRUE(decoder->bodyIsComplete());
}

TEST(HTTPTransferDecoder, IdentityBodyIsNotCompleteAfterAReset)
{
    ScriptedServer server(resettingAfter("hello"));
    const HTTPTransferDecoderRef decoder = decoderFor(server, Headers());
    EXPECT_EQ(readAcrossReset(decoder, 5), "hello");
    EXPECT_TRUE(decoder->istream().bad());
    EXPECT_FALSE(decoder->bodyIsComplete());
}

TEST(HTTPTransferDecoder, ChunkedBodyIsCompleteAfterTheLastChunk)
{
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            peer.send("5\r\nhello\r\n0\r\n\r\n");
            peer.waitUntilPeerCloses();
        });
    const HTTPTransferDecoderRef decoder = decoderFor(server, chunked());
    EXPECT_FALSE(decoder->bodyIsComplete());
    EXPECT_EQ(readAll(decoder), "hello");
    EXPECT_FALSE(decoder->istream().bad());
    EXPECT_TRUE(decoder->bodyIsComplete());
}

TEST(HTTPTransferDecoder, ChunkedBodyWithoutLastChunkIsNotComplete)
{
    for (const char* const wire : {"", "5", "5\r\nhel", "5\r\nhello\r\n", "5\r\nhello\r\n3\r\nab"})
    {
        ScriptedServer server(sending(wire));
        const HTTPTransferDecoderRef decoder = decoderFor(server, chunked());
        readAll(decoder);
        EXPECT_TRUE(decoder->istream().bad()) << wire;
        EXPECT_FALSE(decoder->bodyIsComplete()) << wire;
    }
}

TEST(HTTPTransferDecoder, MalformedChunksAreNotComplete)
{
    ScriptedServer server(sending("5\r\nhello\r\nzz\r\n"));
    const HTTPTransferDecoderRef decoder = decoderFor(server, chunked());
    EXPECT_EQ(readAll(decoder), "hello");
    EXPECT_TRUE(decoder->istream().bad());
    EXPECT_FALSE(decoder->bodyIsComplete());
}

TEST(HTTPTransferDecoder, ChunkedBodyIsNotCompleteAfterAReset)
{
    ScriptedServer server(resettingAfter("5\r\nhello\r\n"));
    const HTTPTransferDecoderRef decoder = decoderFor(server, chunked());
    EXPECT_EQ(readAcrossReset(decoder, 5), "hello");
    EXPECT_FALSE(decoder->bodyIsComplete());
}

TEST(HTTPTransferDecoder, BodyAfterAFailedStreamIsNeverComplete)
{
    for (const Headers& headers : {Headers(), chunked()})
    {
        for (const auto bit : {std::ios::failbit, std::ios::badbit})
        {
            ScriptedServer server(sending("0\r\n\r\n"));
            HTTPConnection connection = connectTo(server);
            connection.istream().setstate(bit);
            const HTTPTransferDecoderRef decoder = getTransferDecoder(connection, headers);
            readAll(decoder);
            EXPECT_FALSE(decoder->bodyIsComplete());
            // Asking the buffer itself reaches the orderly end of the connection, which changes nothing.
            EXPECT_EQ(std::string(std::istreambuf_iterator<char>(connection.istream().rdbuf()), {}), "0\r\n\r\n");
            EXPECT_FALSE(decoder->bodyIsComplete());
        }
    }
}

} // namespace
