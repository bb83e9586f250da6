#include "Getting.hpp"
#include "support/StandaloneServers.hpp"

#include "zol/http/MIMEContentIStream.hpp"

#include <gmock/gmock.h>

#include <cerrno>
#include <iterator>
#include <string>

namespace
{

using namespace exchange_integration;
using testing::HasSubstr;
using zol_test::PythonServer;

/// Sends "/<framing>/<end>": a body of 100 bytes in a frame of more, and then ends in some way.
const char* const SERVER = R"py(
import http.server, os, socket, struct, time

class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        _, framing, end = self.path.split("/")
        self.send_response(200)
        if framing == "length":
            self.send_header("Content-Length", "1000")
        if framing == "chunks" or framing == "chunk-lines":
            self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        body = b"b" * 100
        if framing == "chunks":
            body = b"32\r\n" + b"b" * 50 + b"\r\n64\r\n" + b"b" * 50
        if framing == "chunk-lines":
            body = b"64\r\n" + b"b" * 100 + b"\r\n1"
        self.wfile.write(body)
        getattr(self, end)()
        self.close_connection = True

    def fin(self):
        pass

    def rst(self):
        time.sleep(0.1)
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        os.close(self.connection.detach())

    def silence(self):
        time.sleep(60)

    def log_message(self, *arguments):
        pass

server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print("port", server.server_port, flush=True)
server.serve_forever()
)py";

struct Ending
{
    const char* name;
    ExchangeException::ECause cause;
    ExchangeResponse::EBodyEnd end;
    const char* words;
};

const Ending ENDINGS[] = {
    {"fin", ExchangeException::E_CUT, ExchangeResponse::E_CUT, "closed"},
    {"rst", ExchangeException::E_RESET, ExchangeResponse::E_RESET, "Connection reset by peer"},
    {"silence", ExchangeException::E_TIMED_OUT, ExchangeResponse::E_TIMED_OUT, "no byte moved for"},
};

class CutBody : public testing::Test
{
protected:
    const PythonServer m_server{SERVER};

    std::string address() const { return "127.0.0.1:" + std::to_string(m_server.port()); }

    ExchangeResponse fetch(const std::string& framing, const Ending& ending) const
    {
        ExchangeOptions options;
        options.progressTimeout = blocxx::Timeout::relative(1);
        return exchange(get(plainUrl(m_server.port(), "/" + framing + "/" + ending.name)), options);
    }

    /// What a body to the close ends by is its end.
    static bool isCut(const std::string& framing, const Ending& ending)
    {
        return framing != "close" || ending.end != ExchangeResponse::E_CUT;
    }

    template <class Check>
    static void forEach(Check check)
    {
        for (const char* framing : {"length", "chunks", "chunk-lines", "close"})
        {
            for (const Ending& ending : ENDINGS)
            {
                SCOPED_TRACE(std::string(framing) + " " + ending.name);
                check(framing, ending);
            }
        }
    }
};

TEST_F(CutBody, IsAFailureOfReadAll)
{
    forEach(
        [&](const std::string& framing, const Ending& ending)
        {
            const ExchangeResponse response = fetch(framing, ending);
            if (!isCut(framing, ending))
            {
                EXPECT_EQ(bodyOf(response), std::string(100, 'b'));
                return;
            }
            const auto failure = failureOf([&] { response.readAll(); });
            ASSERT_TRUE(failure);
            EXPECT_EQ(failure->phase(), ExchangeException::E_BODY);
            EXPECT_EQ(failure->cause(), ending.cause) << failure->getMessage();
            EXPECT_EQ(failure->status(), 200);
            EXPECT_THAT(failure->getMessage(), HasSubstr(ending.words));
            EXPECT_THAT(failure->getMessage(), HasSubstr(address()));
            EXPECT_EQ(response.bodyEnd(), ending.end);
        });
}

TEST_F(CutBody, LeavesItsStreamBadBehindWhatArrived)
{
    forEach(
        [&](const std::string& framing, const Ending& ending)
        {
            const ExchangeResponse response = fetch(framing, ending);
            ZOLNS2::HTTP::MIMEContentIStream body(response.getContent());
            EXPECT_EQ(std::string(std::istreambuf_iterator<char>(body), {}), std::string(100, 'b'));
            EXPECT_EQ(body.bad(), isCut(framing, ending));
            if (isCut(framing, ending))
            {
                EXPECT_EQ(response.bodyEnd(), ending.end);
                EXPECT_THAT(textOf(response.bodyEndText()), HasSubstr(ending.words));
                EXPECT_THAT(textOf(response.bodyEndText()), HasSubstr(address()));
            }
            EXPECT_FALSE(response.reusable());
        });
}

TEST_F(CutBody, NamesTheErrnoOfAReset)
{
    const auto failure = failureOf([&] { fetch("length", ENDINGS[1]).readAll(); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->systemError(), ECONNRESET);
    EXPECT_EQ(failure->getErrorCode(), ECONNRESET);
}

} // namespace
