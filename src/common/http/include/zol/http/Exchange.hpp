#pragma once

#include "zol/Export.hpp"
#include "zol/http/ExchangeConnection.hpp"
#include "zol/http/ExchangeException.hpp"
#include "zol/http/ExchangeOptions.hpp"
#include "zol/http/ExchangeResponse.hpp"
#include "zol/http/Request.hpp"

namespace ZOLNS2::HTTP
{

/// Sends `request` over a connection of its own and returns the final response, whatever its status.
///
/// @code
/// const HTTP::Request request = HTTP::RequestBuilder("GET", HTTP::Url("https://www.example.com/")).build();
/// const HTTP::ExchangeResponse response = HTTP::exchange(request);
/// const blocxx::Array<char> page = response.readAll();
/// @endcode
///
/// This is the guarded way beside getPage(). It bounds every wait, frames the body exactly, tells a complete body from a
/// cut one, returns responses outside 200 to 299 as well, passes over interim ones (RFC 9110, section 15.2; at most 16,
/// and 101 is returned), can follow redirects, be cancelled and keep the connection. getPage() is the right
/// tool where every byte of what was sent and received has to be the caller's own affair, and where contents split at
/// multipart boundaries are wanted in memory.
///
/// The request is checked before anything is sent: a method, target, header name or value that would let one request
/// become two is refused. It is written as given, but for the header that Expect asks for, and Accept-Encoding if
/// decompression is asked for and the request has none. While its content is sent, a final response ends the sending.
///
/// May be called from many threads at once. A thread may be cancelled (pthread_cancel) in it.
///
/// @throws ExchangeException  everything that goes wrong: the request, look-up, connection, TLS, a request that was not
///                            sent whole unless a response outside 200 to 299 explains it, a head that is cut, malformed or
///                            over a limit; for a body see ExchangeResponse
/// @throws std::bad_alloc     as it is
ZOL_API ExchangeResponse exchange(const Request& request, const ExchangeOptions& options = ExchangeOptions());

/// The same over a connection that was kept from an earlier exchange with the same server and the same TLS context.
/// @throws ExchangeException  also if the connection is not reusable() or leads to another server, before anything is
///                            sent. If it has ended before the first byte of a response, ExchangeException::isSafeToRepeat()
///                            is true.
ZOL_API ExchangeResponse exchange(const ExchangeConnection& connection, const Request& request,
                                  const ExchangeOptions& options = ExchangeOptions());

} // namespace ZOLNS2::HTTP
