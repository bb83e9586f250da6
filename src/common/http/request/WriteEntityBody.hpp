#pragma once

#include <iosfwd>

namespace ZOLNS2::HTTP
{

/// Copies the body's stream to `out` and flushes. A MIMEContentIStream is read until its content reports the end of the
/// data: a read of no bytes in between ends the stream, but not the body.
///
/// What `out` shows then:
/// - failbit, if no byte was copied, or if the body did not come to its end: the content threw or ended badly, or it
///   had nothing for 64 reads in a row;
/// - deliberately nothing, if `out` stopped taking bytes after the first one. Its buffer remembers that.
/// @throws HTTPException if the body's stream is failed from the start
void writeEntityBody(std::ostream& out, std::istream& body);

} // namespace ZOLNS2::HTTP
