#pragma once

#include "UnitLog.hpp"
#include "content/ReceivedBytes.hpp"

#include "zol/mime/ContentTypeHeader.hpp"

#include <string_view>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// Takes the header lines off the front of one part of a multipart body (RFC 2046, section 5.1) and gives `contentType`
/// the part's own type: application/octet-stream where it names none.
void takePartHeaders(MIME::ReceivedBytes& data, MIME::ContentTypeHeader& contentType, OperationLog& log);

/// The same for header lines that lie in one piece, in the form of HeadInPlace, with one Content-Type at most. Nearly all
/// parts begin so; a stream and a map for each of them would cost more than all else that a small part needs.
/// @param type the value of Content-Type, or application/octet-stream; valid until `data` changes
/// @return false, with nothing taken, for any others
bool takePartHeadersInPlace(MIME::ReceivedBytes& data, std::string_view& type);

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
