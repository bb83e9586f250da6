#include "WireText.hpp"
#include "WriteEntityBody.hpp"

#include "zol/http/MIMEContentIStream.hpp"
#include "zol/http/Request.hpp"

#include <ostream>
#include <string>

namespace ZOLNS2::HTTP
{

namespace
{

// What most heads need, so that one allocation does.
constexpr size_t USUAL_HEAD_SIZE = 512;

} // namespace

void appendWireText(std::string& text, const RequestLine& line)
{
    text.append(line.method.c_str(), line.method.length());
    text += ' ';
    text.append(line.requestURI.c_str(), line.requestURI.length());
    text.append(line.version == HTTP_1_0 ? " HTTP/1.0\r\n" : " HTTP/1.1\r\n", 11);
}

// An unformatted write: a width left on the stream must not pad a line on the wire.
std::ostream& operator<<(std::ostream& out, const RequestLine& line)
{
    std::string text;
    appendWireText(text, line);
    return out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

Request::Request(const RequestLine& line, const Headers& headers, const MIME::ContentRef& content,
                 const SSLContextRef& sslContext)
    : m_requestLine(line), m_headers(headers), m_content(content), m_sslContext(sslContext)
{
}

Request::Request(const RequestLine& line, const Headers& headers, const SSLContextRef& sslContext)
    : Request(line, headers, MIME::ContentRef(), sslContext)
{
}

EntityBodyRef Request::getEntityBody() const
{
    return m_content ? EntityBodyRef(new MIMEContentIStream(m_content)) : EntityBodyRef();
}

std::ostream& operator<<(std::ostream& out, const Request& request)
{
    std::string head;
    head.reserve(USUAL_HEAD_SIZE);
    appendWireText(head, request.getRequestLine());
    appendWireText(head, request.getHeaders());
    head.append("\r\n", 2);
    out.write(head.data(), static_cast<std::streamsize>(head.size()));
    const EntityBodyRef body = request.getEntityBody();
    if (body)
    {
        writeEntityBody(out, *body);
    }
    return out;
}

} // namespace ZOLNS2::HTTP
