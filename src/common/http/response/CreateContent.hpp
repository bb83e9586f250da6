#pragma once

#include "content/ReceivedBytes.hpp"

#include "zol/mime/Content.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// Makes a text or an octet stream of `data`. Where the type is a multipart one, `data` is one of its parts and begins
/// with header lines of its own, which then tell the type. What `data` holds afterwards is unspecified: its memory is
/// released as soon as the bytes are stored elsewhere, so that a large part is not held longer than needed.
/// @return a null reference where the main type is neither text nor application
MIME::ContentRef createContent(MIME::ReceivedBytes& data, const MIME::ContentTypeHeader& contentType);

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
