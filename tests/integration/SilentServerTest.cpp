#include "Broken.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using namespace std::chrono_literals;
using testing::HasSubstr;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

TEST(SilentServer, SilenceAfterTheRequestEndsWithTheReceiveTimeout)
{
    const DefaultTimeouts timeouts(0.3F);
    ScriptedServer server([](ServerConnection& c) { c.waitUntilPeerCloses(); });
    const Within bound(5s);
    const Refusal refusal = refusalOf([&] { fetch(server.port(), Ask()); });
    EXPECT_EQ(refusal.type, "HTTPException");
    EXPECT_EQ(refusal.message, NO_STATUS_LINE);
}

TEST(SilentServer, SilenceInTheHandshakeEndsWithTheConnectTimeout)
{
    ScriptedServer server([](ServerConnection& c) { c.waitUntilPeerCloses(); });
    Ask ask;
    ask.tls = blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx());
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    const Within bound(5s);
    const Refusal refusal =
        refusalOf([&] { HTTP::getPage(requestFor(ask, address), blocxx::Timeout::relative(0.3F)); });
    EXPECT_EQ(refusal.type, "SocketException");
    EXPECT_EQ(refusal.code, ETIMEDOUT);
    EXPECT_THAT(refusal.message, HasSubstr("TLS handshake"));
    EXPECT_THAT(refusal.message, HasSubstr(address));
}

TEST(SilentServer, SilenceInTheBodyCutsIt)
{
    const DefaultTimeouts timeouts(0.3F);
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send(std::string(OK) + "\r\nhello");
            c.waitUntilPeerCloses();
        });
    const Within bound(5s);
    const Body body = onlyBody(fetch(server.port(), Ask()));
    EXPECT_EQ(body.bytes, "hello");
    EXPECT_TRUE(body.ended);
    EXPECT_FALSE(body.complete);
}

TEST(SilentServer, AnUploadThatNobodyReadsEndsWithTheSendTimeout)
{
    const DefaultTimeouts timeouts(0.3F);
    ScriptedServer::Options options;
    options.receiveBufferSize = 4096;
    ScriptedServer server(options,
                          [](ServerConnection& c)
                          {
                              c.receiveHead();
                              c.pause(10s);
                          });
    const std::string bytes(32 << 20, 'u');
    Ask ask;
    ask.method = "POST";
    ask.content = MIME::ContentRef(new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size()));
    const Within bound(8s);
    EXPECT_EQ(refusalOf([&] { fetch(server.port(), ask); }).message, NO_STATUS_LINE);
}

} // namespace
