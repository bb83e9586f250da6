#pragma once

#include "blocxx/Timeout.hpp"
#include "zol/Export.hpp"
#include "zol/http/Request.hpp"
#include "zol/http/Response.hpp"

namespace ZOLNS2::HTTP
{

/// Opens a connection, sends `request` and reads the response, whose single-part body is still to be pulled from the
/// connection through its content.
///
/// @code
/// HTTP::Headers headers;
/// headers.addHeader("Host", "example.com");
/// headers.addHeader("Connection", "close");
/// const HTTP::RequestLine line("GET", "/", "example.com", HTTP::HTTP_1_1);
/// HTTP::Response response = HTTP::getPage(HTTP::Request(line, headers, blocxx::SSLClientCtxRef()),
///                                         blocxx::Timeout::relative(10));
/// @endcode
///
/// getPage() is the right tool where every byte that goes onto the wire has to be the caller's, and where a multipart
/// response is to be split into contents in memory. It trusts the server: it bounds the connect alone, takes the end of
/// the connection for the end of a body, and makes an exception of every status outside 200 to 299. For servers that
/// are not one's own, exchange() (zol/http/Exchange.hpp) is the tool: it bounds time and memory, distinguishes a complete
/// body from a cut one, returns every status with its head and body, and can be cancelled.
///
/// Host and port come from the `url` of the request line: a host, or a host, a colon and a port. Without a port, and
/// where the port is not a number up to 65535, it is 80, with TLS as well. No redirect is followed and nothing is
/// retried.
///
/// May be called from many threads at once.
///
/// @param timeout  bounds the connect, the TLS handshake included, and nothing else
/// @throws blocxx::UnknownHostException  the host cannot be resolved
/// @throws blocxx::SocketException       the connection cannot be opened, or not in time
/// @throws blocxx::SSLException          the TLS session cannot be set up
/// @throws HTTPException                 the request's body cannot be read; the response cannot be read; its status is
///                                       not one of 200 to 299 (error code: the status)
/// @throws what getResponse throws beyond that
ZOL_API Response getPage(const Request& request, const blocxx::Timeout& timeout);

} // namespace ZOLNS2::HTTP
