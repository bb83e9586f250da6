#pragma once

#include "zol/mime/Content.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <iosfwd>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// Reads all of `istr`, splits it at the boundary that `contentType` names and appends one content per part.
/// @return whether the closing boundary was among it
/// @throws MIME::ContentException where `contentType` names no boundary; nothing has been read then
bool parseMultipartContent(std::istream& istr, MIME::Contents& contents, const MIME::ContentTypeHeader& contentType);

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
