#pragma once

#include "blocxx/String.hpp"
#include "zol/http/Headers.hpp"

namespace ZOLNS2::MIME
{

/// The header lines of a part and the empty line behind them.
/// @param type the value of the line Content-Type, which is left out if it is empty or `headers` have one
/// @throws ContentException if a name is not a token, a value holds control characters, or there are two lines
///         Content-Type
blocxx::String partHead(const HTTP::Headers& headers, const blocxx::String& type);

/// The value of Content-Disposition for a part of a form (RFC 7578, section 4.2).
/// @param fileName null for a part that is not a file
/// @throws ContentException if a name holds control characters other than CR and LF
blocxx::String formDataDisposition(const blocxx::String& name, const blocxx::String* fileName);

} // namespace ZOLNS2::MIME
