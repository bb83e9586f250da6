#pragma once

#include "UnitLog.hpp"
#include "content/ReceivedBytes.hpp"

#include "zol/mime/ContentTypeHeader.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// Takes the header lines off the front of one part of a multipart body (RFC 2046, section 5.1) and gives `contentType`
/// the part's own type: application/octet-stream where it names none.
void takePartHeaders(MIME::ReceivedBytes& data, MIME::ContentTypeHeader& contentType, OperationLog& log);

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
