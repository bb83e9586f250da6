#include "zol/http/Request.hpp"

#include "message/WireText.hpp"
#include "request/WriteEntityBody.hpp"

#include "zol/http/MIMEContentIStream.hpp"

#include <ostream>
#include <string>

namespace ZOLNS2::HTTP
{

namespace
{

// What most heads need, so that one allocation does.
constexpr size_t USUAL_HEAD_SIZE = 512;

} // namespace

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
