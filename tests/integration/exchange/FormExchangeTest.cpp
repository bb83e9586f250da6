#include "Getting.hpp"
#include "support/ScriptedContent.hpp"
#include "support/StandaloneServers.hpp"
#include "support/TemporaryDirectory.hpp"

#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/TypedContent.hpp"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>

namespace
{

using namespace exchange_integration;
using zol_test::PythonServer;

/// Responds to a form with a line for each part: its name, its file name, its type, its size and its checksum.
const char* const EMAIL_SERVER = R"py(
import email, http.server, zlib

class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        head = "Content-Type: " + self.headers["Content-Type"] + "\r\n\r\n"
        form = email.message_from_bytes(head.encode() + body)
        assert form.get_content_type() == "multipart/form-data" and not form.defects
        lines = ""
        for part in form.get_payload():
            assert not part.defects and part.get_content_disposition() == "form-data"
            data = part.get_payload(decode=True)
            lines += "%s %s %s %d %d\n" % (part.get_param("name", header="content-disposition"), part.get_filename(),
                                           part["content-type"], len(data), zlib.crc32(data))
        self.send_response(200)
        self.send_header("Content-Length", str(len(lines)))
        self.end_headers()
        self.wfile.write(lines.encode())

    def log_message(self, *arguments):
        pass

server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print("port", server.server_port, flush=True)
server.serve_forever()
)py";

/// The same with a server that is made for forms, and reads them in chunks too.
const char* const WERKZEUG_SERVER = R"py(
import logging, zlib
from werkzeug.formparser import parse_form_data
from werkzeug.serving import WSGIRequestHandler, make_server

class Handler(WSGIRequestHandler):
    protocol_version = "HTTP/1.1"

def respond(environ, start_response):
    _, fields, files = parse_form_data(environ, silent=False)
    lines = ""
    for name, value in fields.items(multi=True):
        data = value.encode()
        lines += "%s None None %d %d\n" % (name, len(data), zlib.crc32(data))
    for name, file in files.items(multi=True):
        data = file.read()
        lines += "%s %s %s %d %d\n" % (name, file.filename, file.content_type, len(data), zlib.crc32(data))
    start_response("200 OK", [("Content-Length", str(len(lines)))])
    return [lines.encode()]

logging.getLogger("werkzeug").disabled = True
server = make_server("127.0.0.1", 0, respond, threaded=True, request_handler=Handler)
print("port", server.server_port, flush=True)
server.serve_forever()
)py";

// Debian's package is there for Debian's Python alone.
const char* const DEBIANS_PYTHON = "/usr/bin/python3";

/// Of a field or a file, as the servers write it.
std::string lineOf(const std::string& nameAndType, const std::string& bytes)
{
    std::uint32_t crc = ~std::uint32_t{0};
    for (const char byte : bytes)
    {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
        {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return nameAndType + " " + std::to_string(bytes.size()) + " " + std::to_string(~crc) + "\n";
}

/// A form with a field and files, one of them on the disk, and what the servers have to respond.
class Form
{
public:
    Form()
    {
        const std::string text = "a day\r\nat the sea";
        m_content->addField("title", text.c_str());
        m_content->addFile("photo", m_folder.write("sea.jpg", m_photo).c_str(), "image/jpeg");
        m_content->addFile("json", ContentRef(new ZOLNS2::MIME::TypedContent("{}", "application/json")), "a b.json");
        m_expected = lineOf("title None None", text) + lineOf("photo sea.jpg image/jpeg", m_photo) +
                     lineOf("json a b.json application/json", "{}");
    }

    /// Adds a file whose length is known at its end alone.
    void addWithoutLength()
    {
        const auto content = zol_test::scripted({"one", "", "two"});
        content->lengthIsKnown = false;
        m_content->addFile("stream", content, "stream.bin");
        m_expected += lineOf("stream stream.bin application/x-scripted", "onetwo");
    }

    ContentRef content() const { return m_content; }
    const std::string& expected() const { return m_expected; }

private:
    const zol_test::TemporaryDirectory m_folder;
    const std::string m_photo = zol_test::distinctBytes(3000000);
    const blocxx::IntrusiveReference<ZOLNS2::MIME::MultipartContent> m_content{
        new ZOLNS2::MIME::MultipartContent("form-data")};
    std::string m_expected;
};

Request post(const PythonServer& server, const Form& form)
{
    return asking("POST", plainUrl(server.port())).content(form.content()).keepAlive(true).build();
}

TEST(FormExchange, PythonsEmailReadsWhatWasPosted)
{
    const PythonServer server(EMAIL_SERVER);
    const Form form;
    EXPECT_EQ(bodyOf(exchange(post(server, form))), form.expected());
}

TEST(FormExchange, AServerForFormsReadsWhatWasPosted)
{
    const PythonServer server(WERKZEUG_SERVER, DEBIANS_PYTHON);
    const Form form;
    EXPECT_EQ(bodyOf(exchange(post(server, form))), form.expected());
    EXPECT_EQ(bodyOf(exchange(post(server, form))), form.expected()) << "a form can be sent again";
}

TEST(FormExchange, AServerForFormsReadsWhatWasPostedInChunks)
{
    const PythonServer server(WERKZEUG_SERVER, DEBIANS_PYTHON);
    Form form;
    form.addWithoutLength();
    EXPECT_EQ(bodyOf(exchange(post(server, form))), form.expected());
}

} // namespace
