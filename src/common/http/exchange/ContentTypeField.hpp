#pragma once

#include "zol/http/Headers.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

namespace ZOLNS2::HTTP
{

/// Reads the first Content-Type field. @return `absent` without such a field, or if it has no type and subtype
///
///     media-type = type "/" subtype parameters                        RFC 9110 section 8.3.1
///     parameters = *( OWS ";" OWS [ parameter ] )                     section 5.6.6
///     parameter  = token "=" ( token / quoted-string )
///
/// Names of parameters are given in lower case, quoted values without quotes and escapes. A parameter that cannot be read
/// is left out.
MIME::ContentTypeHeader contentTypeOf(const Headers& fields, const MIME::ContentTypeHeader& absent);

/// application/octet-stream (RFC 9110, section 8.3).
const MIME::ContentTypeHeader& octetStreamType();

/// text/plain (RFC 2046, section 5.1).
const MIME::ContentTypeHeader& plainTextType();

} // namespace ZOLNS2::HTTP
