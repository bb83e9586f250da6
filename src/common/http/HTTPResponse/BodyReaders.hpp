#pragma once

#include "HTTPResponse/ReceivedBytes.hpp"

#include "zol/mime/Content.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <iosfwd>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// Reads all of `istr` and appends the content made of it; nothing where its type is not supported.
void parseSinglePartContent(std::istream& istr, MIME::Contents& contents, const MIME::ContentTypeHeader& contentType);

/// Reads all of `istr`, splits it at the boundary that `contentType` names and appends one content per part.
/// @return whether the closing boundary was among it
/// @throws MIME::ContentException where `contentType` names no boundary; nothing has been read then
bool parseMultipartContent(std::istream& istr, MIME::Contents& contents, const MIME::ContentTypeHeader& contentType);

/// Makes a text or an octet stream of `data`. Where the type is a multipart one, `data` is one of its parts and begins
/// with header lines of its own, which then tell the type. What `data` holds afterwards is unspecified: its memory is
/// given back as soon as the bytes stand elsewhere, so that a large part is not held longer than needed.
/// @return a null reference where the main type is neither text nor application
MIME::ContentRef createContent(ReceivedBytes& data, const MIME::ContentTypeHeader& contentType);

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
