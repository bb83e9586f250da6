#include "Example.hpp"
#include "support/NginxServer.hpp"
#include "support/ScriptedServer.hpp"
#include "support/StandaloneServers.hpp"
#include "support/TemporaryDirectory.hpp"

#include <gmock/gmock.h>

#include <string>

namespace
{

using namespace examples_test;
using testing::HasSubstr;
using namespace zol_test;

/// A server that shows what was sent to it.
class Posting : public testing::Test
{
protected:
    static NginxServer::Options options()
    {
        NginxServer::Options options;
        options.server = "location = /echo { echo_read_request_body; default_type application/json;\n"
                         "echo \"$request_method $content_type $http_content_length $http_transfer_encoding\";\n"
                         "echo_request_body; }\n"
                         "location = /small { client_max_body_size 1; echo_read_request_body; echo taken; }\n";
        return options;
    }

    const NginxServer m_server{options()};
    const std::string m_url = urlOf(m_server, "/echo");
    const std::string m_missing = urlOf(m_server, "/missing");
};

TEST_F(Posting, PostTextSendsItInUtf8)
{
    EXPECT_EQ(outputOf("post_text", {m_url, "gr\xc3\xbc\xc3\x9f"}),
              "POST text/plain; charset=UTF-8 6 \ngr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(run("post_text", {m_missing, "text"}).status, 1);
}

TEST_F(Posting, PostJsonSendsAndTakesJson)
{
    EXPECT_EQ(outputOf("post_json", {m_url, "{\"answer\": 42}"}), "POST application/json 14 \n{\"answer\": 42}");
    const Outcome outcome = run("post_json", {m_missing, "{}"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "post_json: HTTP/1.1 404 Not Found, not in JSON\n");
}

TEST_F(Posting, PostFileSendsItUnderItsType)
{
    const std::string file = m_server.folder().write("table.csv", "a,b\r\n1,2\r\n");
    EXPECT_EQ(outputOf("post_file", {m_url, file, "text/csv"}), "POST text/csv 10 \na,b\r\n1,2\r\n");
}

TEST_F(Posting, PostFileNamesAFileThatIsMissing)
{
    const Outcome outcome = run("post_file", {m_url, "/nonexistent/file", "text/csv"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("/nonexistent/file"));
}

TEST_F(Posting, PostFileShowsWhyTheServerRefusesIt)
{
    const std::string file = m_server.folder().writeSparse("large", 100000000);
    const Outcome outcome = run("post_file", {urlOf(m_server, "/small"), file, "application/octet-stream"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "HTTP/1.1 413 Request Entity Too Large\n");
}

TEST_F(Posting, OwnContentIsSentInChunks)
{
    EXPECT_EQ(outputOf("own_content", {m_url, "3"}), "POST text/plain  chunked\n1\n2\n3\n");
    std::string numbers;
    for (int i = 1; i <= 20000; ++i)
    {
        numbers += std::to_string(i) + "\n";
    }
    EXPECT_TRUE(outputOf("own_content", {m_url, "20000"}) == "POST text/plain  chunked\n" + numbers);
    EXPECT_EQ(run("own_content", {m_missing, "3"}).status, 1);
}

/// Shows of each part of a multipart body what its head says, its size and its checksum.
const char* const PARTS_SERVER = R"py(
import email, http.server, zlib

class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        whole = email.message_from_bytes(b"Content-Type: " + self.headers["Content-Type"].encode() + b"\r\n\r\n" + body)
        assert whole.is_multipart() and not whole.defects
        text = "%s type=%s\n" % (whole.get_content_type(), whole.get_param("type"))
        for part in whole.get_payload():
            data = part.get_payload(decode=True)
            text += "%s: %d %d\n" % (part.items(), len(data), zlib.crc32(data))
        self.send_response(200)
        self.send_header("Content-Length", str(len(text)))
        self.end_headers()
        self.wfile.write(text.encode())

    def log_message(self, *arguments):
        pass

server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print("port", server.server_port, flush=True)
server.serve_forever()
)py";

TEST(PostForm, SendsFieldsAndFiles)
{
    const PythonServer server(PARTS_SERVER);
    const TemporaryDirectory folder;
    const std::string file = folder.write("sea.jpg", "123456789");
    EXPECT_EQ(outputOf("post_form", {urlOf(server), "title=a=b", "empty=", "photo=@" + file}),
              "multipart/form-data type=None\n"
              "[('Content-Disposition', 'form-data; name=\"title\"')]: 3 2130718927\n"
              "[('Content-Disposition', 'form-data; name=\"empty\"')]: 0 0\n"
              "[('Content-Disposition', 'form-data; name=\"photo\"; filename=\"sea.jpg\"'), "
              "('Content-Type', 'application/octet-stream')]: 9 3421780262\n");
}

TEST(PostForm, SaysWhatIsWrongWithAField)
{
    EXPECT_EQ(run("post_form", {"http://127.0.0.1/", "title"}).errors, "post_form: title is not NAME=VALUE\n");
    EXPECT_THAT(run("post_form", {"http://127.0.0.1/", "a=@/nonexistent/file"}).errors, HasSubstr("/nonexistent/file"));
}

TEST(SendMultipart, SendsPageAndImageAsOne)
{
    const PythonServer server(PARTS_SERVER);
    const TemporaryDirectory folder;
    const std::string page = folder.write("page.html", "<img src=\"cid:image\">");
    EXPECT_EQ(outputOf("send_multipart", {urlOf(server), page, folder.write("image.png", "123456789")}),
              "multipart/related type=text/html\n"
              "[('Content-Type', 'text/html')]: 21 1686339695\n"
              "[('Content-ID', '<image>'), ('Content-Type', 'image/png')]: 9 3421780262\n");
}

TEST(SendMultipart, NamesAFileThatIsMissing)
{
    const Outcome outcome = run("send_multipart", {"http://127.0.0.1/", "/nonexistent/page", "/nonexistent/image"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("/nonexistent/page"));
}

} // namespace
