// What one exchange receives is what another one sends, or what other parts of the library read.

#include "ExchangeWith.hpp"

#include "zol/http/RequestBuilder.hpp"
#include "zol/mime/ContentBIO.hpp"
#include "zol/mime/MultipartReader.hpp"

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace
{

using namespace exchange_test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using ZOLNS2::HTTP::RequestBuilder;
using ZOLNS2::HTTP::Url;

const std::string OK = "HTTP/1.1 200 OK\r\n";

/// Takes a request to its end, which is that of its content, and says so.
void takeAll(ServerConnection& connection)
{
    const std::string head = connection.receiveHead();
    const size_t length = head.find("Content-Length: ");
    if (length != std::string::npos)
    {
        connection.receive(std::stoul(head.substr(length + 16)));
    }
    else
    {
        std::string body;
        while (body.size() < 5 || body.compare(body.size() - 5, 5, "0\r\n\r\n") != 0)
        {
            body += connection.receive(1);
        }
    }
    connection.send(OK + "Content-Length: 0\r\n\r\n");
}

Request postOf(const ScriptedServer& server, const ContentRef& content)
{
    return RequestBuilder("POST", Url(("http://" + server.address() + "/").c_str())).content(content).build();
}

TEST(ExchangePassedOn, ABodyWithALengthIsSentWithIt)
{
    const ExchangeResponse received = responseTo(OK + "Content-Type: text/x-a\r\nContent-Length: 4\r\n\r\nbody");
    ScriptedServer server(takeAll);
    EXPECT_EQ(exchange(postOf(server, received.getContent())).getStatus(), 200);
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_THAT(server.requests().at(0), HasSubstr("Content-Type: text/x-a\r\n"));
    EXPECT_THAT(server.requests().at(0), EndsWith("Content-Length: 4\r\n\r\nbody"));
    EXPECT_EQ(received.bodyEnd(), ExchangeResponse::E_COMPLETE);
}

TEST(ExchangePassedOn, ABodyInChunksIsSentInChunks)
{
    const ExchangeResponse received =
        responseTo(OK + "Transfer-Encoding: chunked\r\n\r\n2\r\nbo\r\n2\r\ndy\r\n0\r\n\r\n");
    ScriptedServer server(takeAll);
    EXPECT_EQ(exchange(postOf(server, received.getContent())).getStatus(), 200);
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_THAT(server.requests().at(0), EndsWith("\r\n0\r\n\r\n"));
    EXPECT_EQ(received.bodyEnd(), ExchangeResponse::E_COMPLETE);
}

TEST(ExchangePassedOn, ACutBodyIsNotSentAsAWholeOne)
{
    for (const char* framing : {"Transfer-Encoding: chunked\r\n\r\n4\r\nbody\r\n", "Content-Length: 10\r\n\r\nbody"})
    {
        SCOPED_TRACE(framing);
        const ExchangeResponse received = responseTo(OK + framing);
        ScriptedServer server([](ServerConnection& connection) { connection.receiveUntilEnd(); });
        const auto failure = failureOf([&] { exchange(postOf(server, received.getContent())); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->phase(), ExchangeException::E_SEND) << failure->getMessage();
        EXPECT_EQ(received.bodyEnd(), ExchangeResponse::E_CUT);
        EXPECT_TRUE(server.waitUntilIdle());
        // Nothing at all may have been sent.
        for (const std::string& request : server.requests())
        {
            EXPECT_THAT(request, Not(EndsWith("0\r\n\r\n")));
        }
    }
}

TEST(ExchangePassedOn, APartOfAMultipartBodyIsSent)
{
    const ExchangeResponse received = responseTo(
        OK + "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: image/png\r\n\r\npart\r\n--b--");
    ZOLNS2::MIME::MultipartReader reader(received.getContent());
    const auto part = reader.next();
    ASSERT_TRUE(part);
    ScriptedServer server(takeAll);
    EXPECT_EQ(exchange(postOf(server, part->getContent())).getStatus(), 200);
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_THAT(server.requests().at(0), HasSubstr("Content-Type: image/png\r\n"));
    EXPECT_THAT(server.requests().at(0), HasSubstr("part"));
    EXPECT_FALSE(reader.next());
}

TEST(ExchangePassedOn, ABodyIsReadThroughABio)
{
    const ExchangeResponse received = responseTo(OK + "Content-Length: 4\r\n\r\nbody");
    const std::unique_ptr<BIO, int (*)(BIO*)> bio(ZOLNS2::MIME::BIO_new_httpcontent(received.getContent()), &BIO_free);
    std::string text(10, '\0');
    text.resize(static_cast<size_t>(BIO_read(bio.get(), text.data(), 10)));
    EXPECT_EQ(text, "body");
    EXPECT_EQ(BIO_read(bio.get(), text.data(), 1), -1);
    EXPECT_EQ(received.bodyEnd(), ExchangeResponse::E_COMPLETE);
}

TEST(ExchangePassedOn, TheConnectionStaysUsableWhileTheBodyIsSentOn)
{
    ScriptedServer source(
        [](ServerConnection& connection)
        {
            for (int i = 0; i < 2; ++i)
            {
                connection.receiveHead();
                connection.send(OK + "Content-Length: 4\r\n\r\nbody");
            }
            connection.waitUntilPeerCloses();
        });
    const ExchangeResponse first = exchange(get(source));
    ScriptedServer server(takeAll);
    exchange(postOf(server, first.getContent()));
    ASSERT_TRUE(first.reusable());
    EXPECT_EQ(bodyOf(exchange(first.getConnection(), get(source))), "body");
}

} // namespace
