#pragma once

#include "connection/HTTPConnectionImpl.hpp"

#include "zol/http/Request.hpp"

namespace ZOLNS2::HTTP
{

/// Does what operator<< and a flush do with a request without content, on a connection whose stream nobody has asked for.
/// That way needs the stream, gathers the head in a string and copies it into a buffer of its own: four times as much.
/// @return false, with nothing written, where the head is as large as the buffer, or something waits in it
bool sendHead(HTTPConnectionImpl& connection, const Request& request);

} // namespace ZOLNS2::HTTP
