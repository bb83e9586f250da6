#pragma once

#include "support/ScriptedServer.hpp"

#include "blocxx/SocketAddress.hpp"
#include "zol/http/HTTPConnection.hpp"

namespace zol_test
{

/// A plain connection to the server.
inline ZOLNS2::HTTP::HTTPConnection connectTo(const ScriptedServer& server,
                                              const blocxx::Timeout& timeout = blocxx::Timeout::relative(10))
{
    return ZOLNS2::HTTP::HTTPConnection(blocxx::SocketAddress::getByName("127.0.0.1", server.port()),
                                        blocxx::SSLClientCtxRef(), timeout);
}

} // namespace zol_test
