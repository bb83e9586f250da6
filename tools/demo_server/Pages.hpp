#pragma once

#include "Exchange.hpp"

namespace demo
{

/// Sends the page that the path of the request names, or 404.
///
/// | path | response |
/// |---|---|
/// | `/hello` | a short text |
/// | `/big?size=N` | N bytes, 64 to a line, as fast as the kernel takes them |
/// | `/cut?size=N` | announces N bytes and closes the connection after half of them |
/// | `/chunked?pieces=N&pause=MS` | N lines, each a chunk of its own, with a pause in between |
/// | `/drip?pause=MS` | announces a large text and sends a byte of it at a time, with a pause in between |
/// | `/multipart?chunked=1&epilogue=N` | three parts: two texts and one of bytes; in chunks; N bytes behind the last one |
/// | `/odd-type` | a text whose content type ends with a semicolon |
/// | `/count` | the number of this request on its connection, which is kept if the client asks for that |
/// | `/echo` | the body of the request, unchanged, under its own length |
/// | `/request` | the head of the request, as it arrived |
/// | `/client` | the subject of the certificate that the client showed |
/// | `/nothing` | 204, without a body |
void sendPage(Exchange& exchange);

} // namespace demo
