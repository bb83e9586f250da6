#include "Fetch.hpp"
#include "support/ChildProcess.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace
{

using namespace ZOLNS2;
using namespace zol_integration;
using zol_test::ChildProcess;

// Python's own server, which responds with its reading of the request. It cuts the body by the caller's Content-Length.
const char* const PROGRAM = R"(
import http.server

class Reader(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def respond(self):
        text = f"{self.command} {self.path} {self.request_version}\n"
        text += "".join(f"[{name}]=[{value}]\n" for name, value in self.headers.items())
        text = text.encode("latin-1") + b"\n" + self.rfile.read(int(self.headers.get("Content-Length", 0)))
        self.send_response(200)
        self.send_header("Content-Type", "text/plain")
        self.send_header("Content-Length", str(len(text)))
        self.end_headers()
        self.wfile.write(text)

    do_GET = do_POST = do_PUT = do_DELETE = do_OPTIONS = do_odd = respond

server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Reader)
print(f"port {server.server_port};", flush=True)
server.serve_forever()
)";

class PythonReader : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_server.waitForOutput(";")) << m_server.errorOutput();
        m_port = static_cast<std::uint16_t>(std::stoi(m_server.output().substr(5)));
    }

    std::string reading(const Ask& ask) { return bodyOf(fetch(m_port, ask)); }

    ChildProcess m_server{{"python3", "-c", PROGRAM}};
    std::uint16_t m_port = 0;
};

TEST_F(PythonReader, ARequestWithoutBody)
{
    Ask ask;
    ask.target = "/a/path?with=query";
    EXPECT_EQ(reading(ask), "GET /a/path?with=query HTTP/1.1\n[Host]=[localhost]\n\n");
}

TEST_F(PythonReader, TheOlderProtocol)
{
    Ask ask;
    ask.version = HTTP::HTTP_1_0;
    EXPECT_EQ(reading(ask), "GET / HTTP/1.0\n[Host]=[localhost]\n\n");
}

TEST_F(PythonReader, NoHeadersAtAll)
{
    Ask ask;
    ask.headers.clear();
    EXPECT_EQ(reading(ask), "GET / HTTP/1.1\n\n");
}

TEST_F(PythonReader, HeadersKeepTheirOrderTheirCaseAndTheirDuplicates)
{
    Ask ask;
    ask.headers = {{"x-b", "2"}, {"HOST", "h"}, {"X-A", "1"}, {"X-B", "again"}, {"X-Empty", ""}};
    EXPECT_EQ(reading(ask), "GET / HTTP/1.1\n[x-b]=[2]\n[HOST]=[h]\n[X-A]=[1]\n[X-B]=[again]\n[X-Empty]=[]\n\n");
}

TEST_F(PythonReader, MethodsAreSentAsTheyStand)
{
    for (const char* method : {"OPTIONS", "DELETE", "odd"})
    {
        Ask ask;
        ask.method = method;
        EXPECT_EQ(reading(ask), std::string(method) + " / HTTP/1.1\n[Host]=[localhost]\n\n");
    }
}

TEST_F(PythonReader, ATextBody)
{
    Ask ask;
    ask.method = "POST";
    ask.content = MIME::ContentRef(new MIME::TextPlainContent("some text\r\nof two lines"));
    EXPECT_EQ(reading(ask.with("Content-Length", "23")),
              "POST / HTTP/1.1\n[Host]=[localhost]\n[Content-Length]=[23]\n\nsome text\r\nof two lines");
}

TEST_F(PythonReader, ALargeBody)
{
    const std::string bytes = pattern(1234567);
    Ask ask;
    ask.method = "PUT";
    ask.content = MIME::ContentRef(new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size()));
    const std::string expected = "PUT / HTTP/1.1\n[Host]=[localhost]\n[Content-Length]=[1234567]\n\n" + bytes;
    EXPECT_TRUE(reading(ask.with("Content-Length", "1234567")) == expected);
}

} // namespace
