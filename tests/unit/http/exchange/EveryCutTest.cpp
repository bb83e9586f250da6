#include "ExchangeWith.hpp"

#include "zol/http/Exchange.hpp"
#include "zol/mime/MultipartReader.hpp"

#include <zlib.h>

#include <atomic>
#include <chrono>
#include <string>
#include <utility>

namespace
{

using namespace exchange_test;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using ZOLNS2::MIME::MultipartReader;

/// Sends the first byte of `bytes` to the first client, the first two to the second, and so on, and closes.
class CuttingServer
{
public:
    explicit CuttingServer(std::string bytes)
        : m_server(
              [this, all = std::move(bytes)](ServerConnection& connection)
              {
                  connection.receiveHead();
                  connection.send(all.substr(0, m_length));
              })
    {
    }

    ExchangeResponse responseCutAt(size_t length, const ExchangeOptions& options)
    {
        m_length = length;
        return exchange(get(m_server), options);
    }

private:
    std::atomic<size_t> m_length{0};
    ScriptedServer m_server;
};

/// Checks that a response that is cut at any offset is told so, and that it is complete from offset `complete` on.
void expectEveryCutTold(const std::string& head, const std::string& body, size_t complete)
{
    CuttingServer server(head + body);
    ExchangeOptions options;
    options.decompress = true;
    for (size_t length = 0; length < head.size(); ++length)
    {
        SCOPED_TRACE(length);
        expectFailure([&] { server.responseCutAt(length, options); }, ExchangeException::E_HEAD,
                      ExchangeException::E_CUT, "The response ended");
    }
    for (size_t length = head.size(); length <= head.size() + body.size(); ++length)
    {
        SCOPED_TRACE(length - head.size());
        const ExchangeResponse response = server.responseCutAt(length, options);
        bodyOf(response);
        EXPECT_EQ(response.bodyEnd(),
                  length - head.size() < complete ? ExchangeResponse::E_CUT : ExchangeResponse::E_COMPLETE)
            << textOf(response.bodyEndText());
        // Behind a complete body the server may not have closed the connection yet.
        EXPECT_TRUE(response.bodyEnd() == ExchangeResponse::E_COMPLETE || !response.reusable());
    }
}

std::string gzipped(const std::string& text)
{
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string result(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<unsigned>(text.size());
    stream.next_out = reinterpret_cast<unsigned char*>(result.data());
    stream.avail_out = static_cast<unsigned>(result.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

TEST(ExchangeCut, IsToldAtEveryOffsetOfABodyWithLength)
{
    expectEveryCutTold("HTTP/1.1 200 OK\r\nX: y\r\nContent-Length: 10\r\n\r\n", "0123456789", 10);
}

TEST(ExchangeCut, IsToldAtEveryOffsetBehindInterimResponses)
{
    expectEveryCutTold("HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\n", "0",
                       1);
}

TEST(ExchangeCut, IsToldAtEveryOffsetOfAChunkedBodyUpToTheLineOfItsLastChunk)
{
    const std::string chunks = "4;name=value\r\nbody\r\n00A\r\n0123456789\r\n";
    expectEveryCutTold("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", chunks + "0\r\nTrailer: x\r\n\r\n",
                       chunks.size() + 3);
}

TEST(ExchangeCut, IsToldAtEveryOffsetOfACompressedBody)
{
    const std::string body = gzipped("some text, some text, and other text");
    expectEveryCutTold("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " + std::to_string(body.size()) +
                           "\r\n\r\n",
                       body, body.size());
}

TEST(ExchangeCut, OfACompressedBodyIsToldWhereOnlyTheConnectionEndsIt)
{
    const std::string body = gzipped("some text, some text, and other text");
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n";
    CuttingServer server(head + body);
    ExchangeOptions options;
    options.decompress = true;
    for (size_t length = 1; length <= body.size(); ++length)
    {
        const ExchangeResponse response = server.responseCutAt(head.size() + length, options);
        bodyOf(response);
        EXPECT_EQ(response.bodyEnd(), length < body.size() ? ExchangeResponse::E_CUT : ExchangeResponse::E_COMPLETE)
            << length;
    }
}

TEST(ExchangeCut, OfAMultipartBodyIsToldAtEveryOffsetUpToTheClosingDelimiter)
{
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n";
    const std::string body = "--b\r\nA: 1\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--";
    CuttingServer server(head + body);
    for (size_t length = 0; length <= body.size(); ++length)
    {
        SCOPED_TRACE(length);
        const ExchangeResponse response = server.responseCutAt(head.size() + length, ExchangeOptions());
        MultipartReader reader(response.getContent());
        const auto readAll = [&]
        {
            while (reader.next())
            {
            }
        };
        if (length < body.size())
        {
            expectFailure(readAll, ExchangeException::E_BODY, ExchangeException::E_CUT, "closing delimiter");
        }
        else
        {
            readAll();
        }
    }
}

TEST(ExchangePieces, ChangeNothing)
{
    const std::string bytes = "HTTP/1.1 103 Early Hints\r\n\r\nHTTP/1.1 200 OK\r\nX: 1\r\n folded\r\n"
                              "Transfer-Encoding: chunked\r\n\r\n4;name=value\r\nbody\r\n0\r\nTrailer: x\r\n\r\n";
    ScriptedServer server(
        [&](ServerConnection& connection)
        {
            connection.receiveHead();
            connection.sendSlowly(bytes, std::chrono::microseconds(500));
        });
    const ExchangeResponse response = exchange(get(server));
    EXPECT_EQ(textOf(response.getHeaders().getHeaderValue("X")), "1 folded");
    EXPECT_EQ(bodyOf(response), "body");
    EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE);
}

} // namespace
