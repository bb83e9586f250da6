#include "support/ChildProcess.hpp"
#include "support/TextOf.hpp"

#include "zol/http/Response.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using namespace ZOLNS2;
using testing::ElementsAre;

using zol_test::ChildProcess;

/// Runs a Python program with `input` on its standard input; returns its output.
std::string python(const char* program, const std::string& input = "")
{
    ChildProcess::Options options;
    options.input = input;
    ChildProcess child({"python3", "-c", program}, options);
    EXPECT_EQ(child.wait(), 0) << child.errorOutput();
    return child.output();
}

std::string hex(const std::string& bytes)
{
    const char* const digits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes)
    {
        const auto byte = static_cast<unsigned char>(c);
        text += {digits[byte / 16], digits[byte % 16]};
    }
    return text;
}

/// Reads a message and prints the type and the bytes of each part.
const char* const READER = R"(
import email, sys
message = email.message_from_bytes(sys.stdin.buffer.read())
assert message.is_multipart() and not message.defects, message.defects
print(message.get_content_type(), repr(message.preamble or ""), repr(message.epilogue or ""))
for part in message.get_payload():
    assert not part.defects, part.defects
    print(part["content-type"], part.get_payload(decode=True).hex())
)";

/// What READER must print for these parts.
class Letter
{
public:
    explicit Letter(const char* boundary) : m_content(new MIME::MultipartMixedContent(boundary)), m_holder(m_content) {}

    void addText(const std::string& text)
    {
        m_content->addPart(MIME::ContentRef(new MIME::TextPlainContent(blocxx::String(text))));
        m_expected += "text/plain; charset=UTF-8 " + hex(text) + "\n";
    }
    void addOctets(const std::string& bytes)
    {
        m_content->addPart(MIME::ContentRef(new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size())));
        m_expected += "application/octet-stream " + hex(bytes) + "\n";
    }

    std::string wire() const
    {
        return std::string("Content-Type: ") + toString(m_content->getContentType()).c_str() + "\r\n\r\n" +
               zol_test::textOf(m_holder);
    }
    const std::string& expected() const { return m_expected; }

private:
    MIME::MultipartMixedContent* const m_content;
    const MIME::ContentRef m_holder;
    std::string m_expected = "multipart/mixed '' ''\n";
};

TEST(PythonEmail, ReadsWhatTheWriterWrote)
{
    Letter letter("=_a boundary (1)+");
    letter.addText("hello, w\xc3\xb6rld\r\n");
    letter.addOctets(std::string("\0\r\n--\r\xff\n", 8));
    letter.addOctets("");
    letter.addText("--=_a boundary\r\n- -\r\n\r\n");
    EXPECT_EQ(python(READER, letter.wire()), letter.expected());
}

TEST(PythonEmail, ReadsBodiesOfRandomBytesThatTheWriterWrote)
{
    std::mt19937 random(11);
    Letter letter("0a1b2c3d4e5f");
    for (int part = 0; part < 200; ++part)
    {
        std::string bytes(random() % 500, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
        letter.addOctets(bytes);
    }
    EXPECT_EQ(python(READER, letter.wire()), letter.expected());
}

/// How a body that a Python program wrote is read: for each part its kind, a colon, its bytes.
std::vector<std::string> partsWrittenBy(const char* program)
{
    std::istringstream in("HTTP/1.1 200 OK\r\n" + python(program));
    HTTP::Response response;
    in >> response;
    EXPECT_TRUE(response.bodyIsComplete());
    std::vector<std::string> parts;
    while (const MIME::ContentRef content = response.getNextPart())
    {
        parts.push_back((content.cast_to<MIME::TextPlainContent>() ? "text:" : "octets:") + zol_test::textOf(content));
    }
    return parts;
}

TEST(PythonEmail, IsReadByTheReader)
{
    const char* const program = R"(
import sys
from email import policy
from email.mime.application import MIMEApplication
from email.mime.multipart import MIMEMultipart
from email.mime.text import MIMEText

message = MIMEMultipart("mixed")
message.preamble = "a preamble\n"
message.epilogue = "an epilogue\n"
message.attach(MIMEText("one\n--two\n", "plain", "us-ascii"))
message.attach(MIMEText("<three/>", "xml", "utf-8"))
message.attach(MIMEApplication(b"\x00four\xff"))
message.attach(MIMEText(""))
sys.stdout.buffer.write(message.as_bytes(policy=policy.SMTP))
)";
    EXPECT_THAT(partsWrittenBy(program),
                ElementsAre("text:one\r\n--two\r\n", "text:PHRocmVlLz4=\r\n", "octets:AGZvdXL/\r\n", "text:"))
        << "the transfer encoding of a part is left to the caller";
}

TEST(PythonEmail, IsReadByTheReaderWithLongFoldedHeadersAndAnyBoundary)
{
    const char* const program = R"(
import sys
from email import policy
from email.message import EmailMessage

message = EmailMessage()
message.set_type("multipart/mixed") if message.get("content-type") else message.add_header("Content-Type", "multipart/mixed")
message.set_boundary("=== an (odd)/boundary, 70 bytes at most: ' + _ - . = ? yes ===")
for number in range(50):
    part = EmailMessage()
    part.set_content(f"part {number}\nof fifty", cte="8bit")
    part.add_header("X-Comment", " ".join(["word"] * 100))
    message.attach(part)
sys.stdout.buffer.write(message.as_bytes(policy=policy.SMTP))
)";
    const std::vector<std::string> parts = partsWrittenBy(program);
    ASSERT_EQ(parts.size(), 50U);
    for (size_t i = 0; i < parts.size(); ++i)
    {
        EXPECT_EQ(parts[i], "text:part " + std::to_string(i) + "\r\nof fifty\r\n");
    }
}

} // namespace
