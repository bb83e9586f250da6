#include "Fetch.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedServer.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

TEST(Multipart, ABodyOverAConnectionIsReadToItsEnd)
{
    ScriptedServer server(
        [](ServerConnection& c)
        {
            c.receiveHead();
            c.send("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=B\r\n\r\n"
                   "--B\r\nContent-Type: text/plain\r\n\r\none\r\n"
                   "--B\r\n\r\ntwo\r\n--B--\r\n");
        });
    HTTP::Response response = fetch(server.port(), Ask());
    ASSERT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(readBody(response.getNextPart()).bytes, "one");
    EXPECT_EQ(readBody(response.getNextPart()).bytes, "two");
    EXPECT_EQ(response.getNextPart().getPtr(), nullptr);
}

TEST(Multipart, SeveralRangesOfAFileAreSeveralContents)
{
    const zol_test::NginxServer server;
    server.folder().write("html/file.txt", "0123456789abcdef");
    HTTP::Response response = fetch(server.port(), askAndClose("/file.txt").with("Range", "bytes=0-3,8-11,14-15"));
    EXPECT_STREQ(response.contentType.getSubType().c_str(), "byteranges");
    std::vector<std::string> parts;
    for (MIME::ContentRef part = response.getNextPart(); part.getPtr() != nullptr; part = response.getNextPart())
    {
        EXPECT_NE(dynamic_cast<MIME::TextPlainContent*>(part.getPtr()), nullptr);
        parts.push_back(readBody(part).bytes);
    }
    EXPECT_EQ(parts, (std::vector<std::string>{"0123", "89ab", "ef"}));
}

} // namespace
