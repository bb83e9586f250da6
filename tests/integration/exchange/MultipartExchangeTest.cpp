#include "Getting.hpp"
#include "support/StandaloneServers.hpp"
#include "support/TextOf.hpp"

#include "zol/http/MIMEContentIStream.hpp"
#include "zol/mime/MultipartReader.hpp"

#include <gmock/gmock.h>

#include <iterator>
#include <optional>
#include <string>

namespace
{

using namespace exchange_integration;
using zol_test::PythonServer;
using zol_test::textOf;
using ZOLNS2::MIME::MultipartPart;
using ZOLNS2::MIME::MultipartReader;

/// Sends "/<chunk size>/<end>": a letter in chunks of that size, of which a part is sent unless the end is "whole".
const char* const SERVER = R"py(
import http.server, os, socket, struct, time
from email import policy
from email.mime.application import MIMEApplication
from email.mime.image import MIMEImage
from email.mime.multipart import MIMEMultipart
from email.mime.nonmultipart import MIMENonMultipart
from email.mime.text import MIMEText

def letter():
    whole = MIMEMultipart("related", "a boundary: (longer)", type="text/html")
    whole.preamble = "a preamble\n--a boundary: (longer than that)\n"
    whole.epilogue = "an epilogue\n--a boundary: (longer)\nX: 1\n\nno part\n"
    html = MIMENonMultipart("text", "html", CharSet="utf-8")
    html.set_payload("<p>one</p>\n")
    whole.attach(html)
    inner = MIMEMultipart("alternative", "a boundary: (longer) within")
    inner.attach(MIMEText("two\n", "plain", "us-ascii"))
    inner.attach(MIMEText("three", "x-markdown", "us-ascii"))
    whole.attach(inner)
    octets = MIMENonMultipart("application", "octet-stream")
    octets.add_header("Content-Disposition", "attachment", filename="four.bin")
    octets.set_payload("4" * 100000)
    whole.attach(octets)
    image = MIMENonMultipart("image", "png")
    image.set_payload("")
    whole.attach(image)
    return whole.as_bytes(policy=policy.SMTP).split(b"\r\n\r\n", 1)

class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        _, size, end = self.path.split("/")
        _, body = letter()
        self.send_response(200)
        self.send_header("Content-Type", 'multipart/related; type="text/html"; BOUNDARY="a boundary: (longer)"')
        self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        if end != "whole":
            body = body[:body.index(b"444") + 50000]
        chunks = [body[at:at + int(size)] for at in range(0, len(body), int(size))]
        wire = b"".join(b"%x\r\n%b\r\n" % (len(chunk), chunk) for chunk in chunks)
        self.wfile.write(wire + (b"0\r\nX-Trailer: t\r\n\r\n" if end == "whole" else b""))
        if end != "whole":
            getattr(self, end)()
            self.close_connection = True

    def fin(self):
        pass

    def ended(self):
        self.wfile.write(b"0\r\n\r\n")

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

class MultipartExchange : public testing::Test
{
protected:
    const PythonServer m_server{SERVER};

    ExchangeResponse letter(const std::string& chunkSize, const std::string& end = "whole") const
    {
        ExchangeOptions options;
        options.progressTimeout = blocxx::Timeout::relative(1);
        return exchange(getAndKeep(plainUrl(m_server.port(), "/" + chunkSize + "/" + end)), options);
    }
};

std::string typeOf(const MultipartPart& part)
{
    return exchange_integration::textOf(toString(part.getContentType()));
}

TEST_F(MultipartExchange, ChunksAreReadPartAfterPart)
{
    for (const char* chunkSize : {"1", "7", "1000", "1000000"})
    {
        SCOPED_TRACE(chunkSize);
        const ExchangeResponse response = letter(chunkSize);
        MultipartReader reader(response.getContent());
        const auto html = reader.next();
        ASSERT_TRUE(html);
        EXPECT_EQ(typeOf(*html), "text/html; charset=utf-8");
        EXPECT_EQ(textOf(html->getContent()), "<p>one</p>\r\n");

        const auto inner = reader.next();
        ASSERT_TRUE(inner);
        MultipartReader nested(inner->getContent());
        EXPECT_EQ(textOf(nested.next().value().getContent()), "two\r\n");
        const auto markdown = nested.next();
        ASSERT_TRUE(markdown);
        EXPECT_EQ(typeOf(*markdown), "text/x-markdown; charset=us-ascii");
        EXPECT_EQ(textOf(markdown->getContent()), "three");
        EXPECT_FALSE(nested.next());

        const auto octets = reader.next();
        ASSERT_TRUE(octets);
        EXPECT_STREQ(octets->getHeaders().getHeaderValue("Content-Disposition").c_str(),
                     "attachment; filename=\"four.bin\"");
        EXPECT_TRUE(textOf(octets->getContent()) == std::string(100000, '4'));

        const auto image = reader.next();
        ASSERT_TRUE(image);
        EXPECT_EQ(typeOf(*image), "image/png");
        EXPECT_EQ(textOf(image->getContent()), "");
        EXPECT_FALSE(reader.next());
        EXPECT_EQ(response.bodyEnd(), ExchangeResponse::E_COMPLETE);
        EXPECT_TRUE(response.reusable());
    }
}

TEST_F(MultipartExchange, PartsThatAreNotReadArePassedOver)
{
    const ExchangeResponse response = letter("100");
    MultipartReader reader(response.getContent());
    const auto first = reader.next();
    int parts = 0;
    for (auto part = first; part; part = reader.next())
    {
        ++parts;
    }
    EXPECT_EQ(parts, 4);
    EXPECT_TRUE(response.reusable());
    EXPECT_THROW(textOf(first->getContent()), blocxx::Exception);
}

TEST_F(MultipartExchange, APartIsReadOnWhenResponseAndReaderAreGone)
{
    std::optional<MultipartPart> part;
    {
        MultipartReader reader(letter("1000").getContent());
        reader.next();
        reader.next();
        part = reader.next();
    }
    ASSERT_TRUE(part);
    EXPECT_TRUE(textOf(part->getContent()) == std::string(100000, '4'));
}

TEST_F(MultipartExchange, ACutIsToldFromAnEnd)
{
    struct Case
    {
        const char* end;
        ExchangeException::ECause cause;
    };
    for (const Case& one : {Case{"fin", ExchangeException::E_CUT}, Case{"ended", ExchangeException::E_CUT},
                            Case{"rst", ExchangeException::E_RESET}, Case{"silence", ExchangeException::E_TIMED_OUT}})
    {
        SCOPED_TRACE(one.end);
        const ExchangeResponse response = letter("1000", one.end);
        MultipartReader reader(response.getContent());
        reader.next();
        reader.next();
        const auto cut = reader.next();
        ASSERT_TRUE(cut);
        ZOLNS2::HTTP::MIMEContentIStream body(cut->getContent());
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(body), {}).size(), 50000U);
        EXPECT_TRUE(body.bad());
        for (int again = 0; again < 2; ++again)
        {
            expectFailure([&] { reader.next(); }, ExchangeException::E_BODY, one.cause, "");
        }
    }
}

} // namespace
