#include "support/ChildProcess.hpp"
#include "support/ScriptedContent.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/TextOf.hpp"

#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/TypedContent.hpp"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <string>

namespace
{

using namespace ZOLNS2;

using zol_test::ChildProcess;

/// Runs a program with a message on its standard input; what it wrote.
std::string outputOf(const char* interpreter, const char* program, const std::string& message)
{
    ChildProcess::Options options;
    options.input = message;
    ChildProcess child({interpreter, "-c", program}, options);
    EXPECT_EQ(child.wait(), 0) << child.errorOutput();
    return child.output();
}

/// Tells of each part its name, its file name, its type and what its bytes are known by. The heads are in UTF-8.
const char* const EMAIL = R"(
import email, hashlib, sys
wire = sys.stdin.buffer.read()
message = email.message_from_bytes(wire)
assert message.get_content_type() == "multipart/form-data" and not message.defects, message.defects
assert not message.preamble and not message.epilogue
heads = email.message_from_string(wire.decode("utf-8", "surrogateescape")).get_payload()
for head, part in zip(heads, message.get_payload(), strict=True):
    assert not part.defects and head.get_content_disposition() == "form-data"
    print(ascii(head.get_param("name", header="content-disposition")), ascii(head.get_filename()),
          head["content-type"], hashlib.sha256(part.get_payload(decode=True)).hexdigest())
)";

/// The same, by a parser that servers use for their forms.
const char* const WERKZEUG = R"(
import hashlib, io, sys
from werkzeug.formparser import parse_form_data
head, body = sys.stdin.buffer.read().split(b"\r\n\r\n", 1)
environ = {"REQUEST_METHOD": "POST", "CONTENT_TYPE": head.decode().split(": ", 1)[1],
           "CONTENT_LENGTH": str(len(body)), "wsgi.input": io.BytesIO(body)}
_, fields, files = parse_form_data(environ, silent=False)
for name, value in fields.items(multi=True):
    print(ascii(name), None, None, hashlib.sha256(value.encode()).hexdigest())
for name, file in files.items(multi=True):
    print(ascii(name), ascii(file.filename), file.content_type, hashlib.sha256(file.read()).hexdigest())
)";

std::string sha256(const std::string& bytes)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EXPECT_EQ(EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr), 1);
    const char* const digits = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < length; ++i)
    {
        text += {digits[digest[i] / 16], digits[digest[i] % 16]};
    }
    return text;
}

/// A form and what the readers have to say of it: the fields first, then the files.
class Form
{
public:
    Form() : m_content(new MIME::MultipartContent("form-data")) {}

    /// @param nameAsRead as Python writes it
    void addField(const std::string& name, const std::string& value, const std::string& nameAsRead)
    {
        m_content->addField(blocxx::String(name), blocxx::String(value));
        m_expected += nameAsRead + " None None " + sha256(value) + "\n";
    }
    /// @param namesAsRead of the field and the file, as Python writes them
    void addFile(const std::string& name, const std::string& fileName, const char* type, const std::string& bytes,
                 const std::string& namesAsRead)
    {
        m_content->addFile(blocxx::String(name), MIME::ContentRef(new MIME::TypedContent(blocxx::String(bytes), type)),
                           blocxx::String(fileName));
        m_expected += namesAsRead + " " + type + " " + sha256(bytes) + "\n";
    }
    void addFileOnDisk(const std::string& name, const std::string& path, const std::string& bytes,
                       const std::string& namesAsRead)
    {
        m_content->addFile(blocxx::String(name), blocxx::String(path), "application/x-test");
        m_expected += namesAsRead + " application/x-test " + sha256(bytes) + "\n";
    }

    std::string wire() const
    {
        const std::string body = zol_test::textOf(m_content);
        EXPECT_EQ(m_content->getContentLength(), body.size());
        return std::string("Content-Type: ") + toString(m_content->getContentType()).c_str() + "\r\n\r\n" + body;
    }
    const std::string& expected() const { return m_expected; }

private:
    const blocxx::IntrusiveReference<MIME::MultipartContent> m_content;
    std::string m_expected;
};

/// Names and bytes that a careless writer or reader would stumble over.
void fill(Form& form, const zol_test::TemporaryDirectory& directory)
{
    form.addField("title", "a day\r\nat the sea", "'title'");
    form.addField("title", "", "'title'");
    form.addField("gr\xc3\xbc\xc3\x9f", "--zol-\r\n\r\nw\xc3\xb6rld\r\n", "'gr\\xfc\\xdf'");
    form.addFile("photo", "sea; name=x.jpg", "image/jpeg", std::string("\0\r\n--\r\n\xff\n", 8),
                 "'photo' 'sea; name=x.jpg'");
    form.addFile("a \"b\"\r\nc", "d\"\ne.txt", "text/plain", "", "'a %22b%22%0D%0Ac' 'd%22%0Ae.txt'");
    form.addFile("euro", "\xe2\x82\xac.txt", "application/json", "{}", "'euro' '\\u20ac.txt'");
    const std::string large = zol_test::distinctBytes(300000);
    form.addFileOnDisk("disk", directory.write("large file.bin", large), large, "'disk' 'large file.bin'");
}

TEST(FormData, PythonsEmailReadsWhatTheWriterWrote)
{
    const zol_test::TemporaryDirectory directory;
    Form form;
    fill(form, directory);
    EXPECT_EQ(outputOf("python3", EMAIL, form.wire()), form.expected());
}

// Debian's package is there for Debian's Python alone.
TEST(FormData, AFormParserOfServersReadsWhatTheWriterWrote)
{
    const zol_test::TemporaryDirectory directory;
    Form form;
    fill(form, directory);
    EXPECT_EQ(outputOf("/usr/bin/python3", WERKZEUG, form.wire()), form.expected());
}

} // namespace
