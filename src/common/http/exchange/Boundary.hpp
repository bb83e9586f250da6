#pragma once

#include "blocxx/String.hpp"
#include "zol/mime/Content.hpp"

namespace ZOLNS2::MIME
{

/// A new boundary with 128 random bits, of characters that need no quotes in a parameter.
/// @throws ContentException if the system gives no random bytes
blocxx::String makeBoundary();

/// @throws ContentException if `boundary` is not one (RFC 2046, section 5.1.1): 1 to 70 of certain characters, of which
///         the last is not a blank
void checkBoundary(const blocxx::String& boundary);

/// Whether a delimiter of `boundary` occurs in the bytes of `content`, as far as they are in memory or are the delimiters
/// of a multipart content. It need not begin a line: a reader may look for it anywhere.
bool containsDelimiter(const ContentRef& content, const blocxx::String& boundary);

} // namespace ZOLNS2::MIME
