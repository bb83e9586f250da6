#pragma once

#include "UnitLog.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/http/StatusLine.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// The words of a response's first line.
using Words = blocxx::Array<blocxx::String>;

/// @throws HTTPException always, from the given line of this unit
[[noreturn]] void refuse(int line, const blocxx::String& message, int errorCode = -1);

/// Stores what the words of a status line say (RFC 9112, section 4: status-line = HTTP-version SP status-code SP
/// [ reason-phrase ]).
/// @throws HTTPException for a version other than HTTP/1.0 and HTTP/1.1 and for a code that is not a 16-bit number;
///         what precedes it has been stored then
void storeStatusLine(const Words& words, StatusLine& statusLine);

/// Logs the fields of a head, as far as there is memory for the records.
void logFields(OperationLog& log, const OpenWBEM::HTTPHeaderMap& headerMap);

/// Logs a head that has been split up.
void logHead(OperationLog& log, const Words& words, const OpenWBEM::HTTPHeaderMap& headerMap);

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
