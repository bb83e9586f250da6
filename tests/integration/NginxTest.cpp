#include "Fetch.hpp"
#include "support/NginxServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <sstream>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using zol_test::NginxServer;

NginxServer::Options configuration()
{
    NginxServer::Options options;
    options.ipv6 = true;
    options.server = R"(
        location = /echo { echo "one"; echo_flush; echo "two"; echo_flush; echo -n "three"; }
        location = /many-chunks { echo_duplicate 3000 "0123456789abcdef"; }
        location = /replaced.html { sub_filter_once off; sub_filter "old" "a longer new"; }
        location = /moved { return 301 /elsewhere; }
        location = /broken { return 500; }
        location = /empty { return 204; }
        location = /headers { add_header X-Zebra z; add_header A-Header a; add_header x-zebra again; return 200 ok; }
        location /stored/ { dav_methods PUT; create_full_put_path on; }
        location = /squeezed.txt { gzip on; gzip_min_length 1; gzip_types text/plain; }
    )";
    return options;
}

class Nginx : public testing::Test
{
protected:
    NginxServer m_server{configuration()};

    void file(const std::string& name, const std::string& content) { m_server.folder().write("html/" + name, content); }

    std::string bodyAt(const std::string& target)
    {
        Ask ask;
        ask.target = target;
        return bodyOf(fetch(m_server.port(), ask));
    }
};

// In all tests that do not ask to close, the server leaves the connection open: reading one byte too many would wait.
TEST_F(Nginx, FilesOfEverySizeArriveWhole)
{
    for (const std::size_t size : {0U, 1U, 2U, 1000U, 65535U, 65536U, 65537U, 1U << 20})
    {
        SCOPED_TRACE(size);
        const std::string content = pattern(size);
        file("file.txt", content);
        Ask ask;
        ask.target = "/file.txt";
        HTTP::Response response = fetch(m_server.port(), ask);
        EXPECT_EQ(response.statusLine.statusCode, 200);
        EXPECT_EQ(response.statusLine.version, HTTP::HTTP_1_1);
        EXPECT_STREQ(response.statusLine.reasonPhrase.c_str(), "OK");
        EXPECT_EQ(headerOf(response, "Connection"), "keep-alive");
        EXPECT_STREQ(toString(response.contentType).c_str(), "text/plain");
        EXPECT_EQ(response.contents.size(), 1u);
        EXPECT_EQ(response.contents[0]->getContentLength(), size);
        EXPECT_EQ(bodyOf(response), content);
    }
}

TEST_F(Nginx, AGibibyteStreams)
{
    const std::uint64_t size = std::uint64_t(1) << 30;
    m_server.folder().writeSparse("html/big.bin", size);
    Ask ask;
    ask.target = "/big.bin";
    HTTP::Response response = fetch(m_server.port(), ask);
    const std::string zeros(65536, '\0');
    bool allZero = true;
    const auto look = [&](std::string_view block) { allZero = allZero && block == zeros.substr(0, block.size()); };
    EXPECT_EQ(pull(response.getNextPart(), look), size);
    EXPECT_TRUE(allZero);
}

TEST_F(Nginx, ReadingIsStoppedByTheCountOfTheReader)
{
    file("file.txt", "0123456789");
    Ask ask;
    ask.target = "/file.txt";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(bodyOf(fetch(m_server.port(), ask)), "0123456789");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(Nginx, TheLibraryDoesNotStopAtTheAnnouncedLength)
{
    const DefaultTimeouts timeouts(0.5F);
    file("file.txt", "0123456789");
    Ask ask;
    ask.target = "/file.txt";
    HTTP::Response response = fetch(m_server.port(), ask);
    const MIME::ContentRef content = response.getNextPart();
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    char block[100];
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(content->getData(block, sizeof block, state), 10u);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
    EXPECT_EQ(std::string(block, 10), "0123456789");
    EXPECT_EQ(content->getData(block, sizeof block, state), static_cast<std::size_t>(-1));
}

TEST_F(Nginx, ChunksThatAModuleSendsAreDecoded)
{
    Ask ask;
    ask.target = "/echo";
    HTTP::Response response = fetch(m_server.port(), ask);
    EXPECT_EQ(headerOf(response, "transfer-encoding"), "chunked");
    EXPECT_FALSE(response.contents[0]->hasContentLength());
    EXPECT_EQ(bodyOf(response), "one\ntwo\nthree");
}

TEST_F(Nginx, ManyChunksAreDecoded)
{
    std::string expected;
    for (int i = 0; i < 3000; ++i)
    {
        expected += "0123456789abcdef";
    }
    EXPECT_EQ(bodyAt("/many-chunks"), expected);
}

TEST_F(Nginx, AFilterThatChangesTheLengthChunks)
{
    std::string text;
    std::string expected;
    for (int i = 0; i < 20000; ++i)
    {
        text += "old " + std::to_string(i) + "\n";
        expected += "a longer new " + std::to_string(i) + "\n";
    }
    file("replaced.html", text);
    Ask ask;
    ask.target = "/replaced.html";
    HTTP::Response response = fetch(m_server.port(), ask);
    EXPECT_EQ(headerOf(response, "Transfer-Encoding"), "chunked");
    EXPECT_EQ(bodyOf(response), expected);
}

TEST_F(Nginx, CompressedBytesPassUntouched)
{
    file("squeezed.txt", std::string(10000, 'a'));
    Ask ask;
    ask.target = "/squeezed.txt";
    HTTP::Response response = fetch(m_server.port(), ask.with("Accept-Encoding", "gzip"));
    EXPECT_EQ(headerOf(response, "content-encoding"), "gzip");
    EXPECT_THAT(bodyOf(response), testing::StartsWith("\x1f\x8b"));
}

TEST_F(Nginx, RespondsInTheOlderProtocolUpToTheEndOfTheConnection)
{
    Ask ask;
    ask.target = "/echo";
    ask.version = HTTP::HTTP_1_0;
    HTTP::Response response = fetch(m_server.port(), ask);
    EXPECT_EQ(headerOf(response, "transfer-encoding"), "");
    EXPECT_EQ(headerOf(response, "connection"), "close");
    const MIME::ContentRef content = response.getNextPart();
    EXPECT_FALSE(content->hasContentLength());
    const Body body = readBody(content);
    EXPECT_EQ(body.bytes, "one\ntwo\nthree");
    EXPECT_TRUE(body.ended);
    EXPECT_TRUE(body.complete);
}

TEST_F(Nginx, StatusesOutsideTheTwoHundredsAreRefused)
{
    const std::pair<const char*, std::pair<int, const char*>> cases[] = {
        {"/moved", {301, "HTTP/1.1 301 Moved Permanently"}},
        {"/no-such-file", {404, "HTTP/1.1 404 Not Found"}},
        {"/broken", {500, "HTTP/1.1 500 Internal Server Error"}},
    };
    for (const auto& [target, expected] : cases)
    {
        Ask ask;
        ask.target = target;
        const Refusal refusal = refusalOf([&] { fetch(m_server.port(), ask); });
        EXPECT_EQ(refusal.type, "HTTPException");
        EXPECT_EQ(refusal.code, expected.first);
        EXPECT_EQ(refusal.message, std::string("Error response from http server: ") + expected.second);
    }
}

TEST_F(Nginx, RequestsItCannotReadAreRefused)
{
    Ask ask;
    ask.headers.clear();
    EXPECT_EQ(refusalOf([&] { fetch(m_server.port(), ask); }).code, 400) << "HTTP/1.1 wants a Host header";
}

TEST_F(Nginx, AResponseWithoutBodyIsASuccess)
{
    HTTP::Response response = fetch(m_server.port(), askAndClose("/empty"));
    EXPECT_EQ(response.statusLine.statusCode, 204);
    EXPECT_STREQ(response.statusLine.reasonPhrase.c_str(), "No Content");
    EXPECT_EQ(bodyOf(response), "");
}

TEST_F(Nginx, TheHeadAloneAnnouncesALengthThatDoesNotCome)
{
    file("file.txt", "0123456789");
    Ask ask = askAndClose("/file.txt");
    ask.method = "HEAD";
    HTTP::Response response = fetch(m_server.port(), ask);
    const MIME::ContentRef content = response.getNextPart();
    EXPECT_EQ(content->getContentLength(), 10u);
    EXPECT_EQ(readBody(content).bytes, "");
}

TEST_F(Nginx, HeadersArriveInTheOrderOfTheirNames)
{
    Ask ask;
    ask.target = "/headers";
    const HTTP::Response response = fetch(m_server.port(), ask);
    std::ostringstream names;
    for (const HTTP::Header& header : response.headers)
    {
        names << header.name.c_str() << " ";
    }
    EXPECT_EQ(names.str(), "a-header connection content-length date server x-zebra ");
    EXPECT_EQ(headerOf(response, "X-ZEBRA"), "z, again");
}

TEST_F(Nginx, RespondsOverIPv6)
{
    HTTP::HTTPConnection connection(blocxx::SocketAddress::getByName("::1", m_server.ipv6Port()), {},
                                    blocxx::Timeout::relative(10));
    connection.ostream() << requestFor(askAndClose("/echo"), "unused") << std::flush;
    EXPECT_EQ(bodyOf(HTTP::getResponse(connection)), "one\ntwo\nthree");
}

TEST_F(Nginx, StoresWhatIsUploaded)
{
    const std::string content = pattern(3000000);
    Ask ask;
    ask.method = "PUT";
    ask.target = "/stored/deep/file.bin";
    ask.content = MIME::ContentRef(new MIME::ApplicationOctetStreamContent(content.data(), content.size()));
    HTTP::Response created = fetch(m_server.port(), ask.with("Content-Length", std::to_string(content.size())));
    EXPECT_EQ(created.statusLine.statusCode, 201);
    EXPECT_EQ(zol_test::readFile(m_server.folder().file("html/stored/deep/file.bin")), content);

    ask.content = MIME::ContentRef(new MIME::TextPlainContent("x"));
    HTTP::Response replaced = fetch(m_server.port(), ask.with("Content-Length", "1").with("Connection", "close"));
    EXPECT_EQ(replaced.statusLine.statusCode, 204);
    EXPECT_EQ(bodyOf(replaced), "");
    EXPECT_EQ(zol_test::readFile(m_server.folder().file("html/stored/deep/file.bin")), "x");
}

TEST_F(Nginx, StoresAFileStraightFromTheDisk)
{
    const std::string content = pattern(200000);
    const std::string path = m_server.folder().write("to-send.bin", content);
    Ask ask;
    ask.method = "PUT";
    ask.target = "/stored/copy.bin";
    ask.content = MIME::ContentRef(new MIME::FileApplicationOctetStreamContent(blocxx::String(path)));
    fetch(m_server.port(), ask.with("Content-Length", std::to_string(ask.content->getContentLength())));
    EXPECT_EQ(zol_test::readFile(m_server.folder().file("html/stored/copy.bin")), content);
}

TEST_F(Nginx, APartOfAFileIsASuccess)
{
    file("file.txt", "0123456789");
    Ask ask;
    ask.target = "/file.txt";
    HTTP::Response response = fetch(m_server.port(), ask.with("Range", "bytes=2-4"));
    EXPECT_EQ(response.statusLine.statusCode, 206);
    EXPECT_EQ(bodyOf(response), "234");
}

TEST_F(Nginx, ABodyNobodyReadsIsGivenUp)
{
    m_server.folder().writeSparse("html/big.bin", std::uint64_t(1) << 30);
    Ask ask;
    ask.target = "/big.bin";
    for (int i = 0; i < 20; ++i)
    {
        const HTTP::Response response = fetch(m_server.port(), ask);
        EXPECT_EQ(response.contents.size(), 1u);
    }
    // The server still serves others.
    EXPECT_EQ(bodyAt("/echo"), "one\ntwo\nthree");
}

} // namespace
