#include "WriteEntityBody.hpp"

#include "zol/http/MIMEContentIStream.hpp"
#include "zol/http/Request.hpp"

#include <ostream>

namespace ZOLNS2::HTTP
{

// Unformatted writes throughout: a width left on the stream must not pad a line on the wire.
std::ostream& operator<<(std::ostream& out, const RequestLine& line)
{
    out << line.method;
    out.put(' ');
    out << line.requestURI;
    return out.write(line.version == HTTP_1_0 ? " HTTP/1.0\r\n" : " HTTP/1.1\r\n", 11);
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
    out << request.getRequestLine() << request.getHeaders();
    out.write("\r\n", 2);
    const EntityBodyRef body = request.getEntityBody();
    if (body)
    {
        writeEntityBody(out, *body);
    }
    return out;
}

} // namespace ZOLNS2::HTTP
