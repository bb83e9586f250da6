#pragma once

#include "zol/mime/Content.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <iosfwd>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// Reads all of `istr` and appends the content made of it; nothing where its type is not supported.
void parseSinglePartContent(std::istream& istr, MIME::Contents& contents, const MIME::ContentTypeHeader& contentType);

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
