#pragma once

#include "message/HeadInPlace.hpp"

#include "zol/http/Response.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// Stores a head that was split up in place, with the result of Response::convertToNewHeaderFormat for a head that
/// HTTPUtils::parseHeader has read: names in lower case and in the order of their bytes, the values of one name joined.
/// No map and no words are made for it, which is two thirds of the cost; that way stays for heads that are not in one
/// piece, and for whoever wants to see the records of each step.
/// @return whether it names a type
bool storeHead(const HeadInPlace& head, Response& response);

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
