#pragma once

#include "zol/mime/ContentTypeHeader.hpp"

namespace ZOLNS2::MIME
{

/// application/octet-stream, the type of bytes about which nothing more is known (RFC 2046, section 4.5.1).
inline ContentTypeHeader octetStreamType()
{
    return ContentTypeHeader("application", "octet-stream", blocxx::Array<HTTP::Parameter>());
}

} // namespace ZOLNS2::MIME
