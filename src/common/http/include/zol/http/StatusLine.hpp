#pragma once

#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/Version.hpp"

namespace ZOLNS2::HTTP
{

/// The first line of a response (RFC 9112, section 4).
///
/// @code
/// const HTTP::StatusLine line(HTTP::HTTP_1_1, 404, "Not Found");
/// std::cout << line.toString(); // HTTP/1.1 404 Not Found
/// @endcode
class ZOL_API StatusLine
{
public:
    /// Deliberate: leaves `version` and `statusCode` unset; assign before reading them.
    StatusLine();
    /// The members in their order.
    StatusLine(Version httpVersion, unsigned short code, const blocxx::String& reason);

    /// "HTTP/1.1 200 OK"; ends in a blank when there is no reason phrase.
    blocxx::String toString() const;

    /// The version of the protocol that the response is in.
    Version version;
    unsigned short statusCode; ///< 200, 404 and so on
    /// The words behind the code, as the server wrote them; may be empty.
    blocxx::String reasonPhrase;
};

} // namespace ZOLNS2::HTTP
