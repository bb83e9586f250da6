#pragma once

#include "blocxx/String.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

namespace ZOLNS2::MIME
{

/// Reads the value of a Content-Type strictly (RFC 9110, section 8.3.1).
/// @throws ContentException if it is not a media type
ContentTypeHeader parseMediaType(const blocxx::String& text);

/// The value of the Content-Type that `type` stands for.
/// @throws ContentException if it cannot stand in a field: type, subtype and the names of the parameters must be tokens,
///         and their values must not be empty, nor contain control characters or a backslash
blocxx::String mediaTypeText(const ContentTypeHeader& type);

} // namespace ZOLNS2::MIME
