#pragma once

#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/Version.hpp"

namespace ZOLNS2::HTTP
{

/// The first line of a response (RFC 9112, section 4).
class ZOL_API StatusLine
{
public:
    /// Deliberate: leaves `version` and `statusCode` unset; assign before reading them.
    StatusLine();
    StatusLine(Version httpVersion, unsigned short code, const blocxx::String& reason);

    /// "HTTP/1.1 200 OK"; ends in a blank when there is no reason phrase.
    blocxx::String toString() const;

    Version version;
    unsigned short statusCode; ///< 200, 404 and so on
    blocxx::String reasonPhrase;
};

} // namespace ZOLNS2::HTTP
