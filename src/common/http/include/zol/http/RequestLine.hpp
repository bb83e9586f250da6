#pragma once

#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/Version.hpp"

#include <iosfwd>
#include <utility>

namespace ZOLNS2::HTTP
{

/// The first line of a request (RFC 9112, section 3), and the server it is meant for. Nothing is checked or changed.
///
/// @code
/// const HTTP::RequestLine line("GET", "/index.html", "localhost:8080", HTTP::HTTP_1_1);
/// std::cout << line; // GET /index.html HTTP/1.1
/// @endcode
class RequestLine
{
public:
    /// The members in their order.
    RequestLine(blocxx::String requestMethod, blocxx::String target, blocxx::String server, Version httpVersion)
        : method(std::move(requestMethod)), requestURI(std::move(target)), url(std::move(server)), version(httpVersion)
    {
    }

    blocxx::String method;     ///< as written on the wire
    blocxx::String requestURI; ///< the target written after the method
    blocxx::String url;        ///< the server, "host" or "host:port"; never written on the wire
    /// Written behind the target.
    Version version;
};

/// Writes method, blank, target, " HTTP/1." and 0 or 1, CR LF.
ZOL_API std::ostream& operator<<(std::ostream& out, const RequestLine& line);

} // namespace ZOLNS2::HTTP
