#pragma once

#include "Peers.hpp"
#include "ScriptedResolver.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include <string>

namespace zol_test
{

/// A server's script: sends "hello".
inline void greet(ServerConnection& connection)
{
    connection.send("hello");
}

/// Connects to the server by that name, which resolves to it, and reads its greeting.
inline std::string greetingOf(const ScriptedServer& server, const blocxx::SSLClientCtxRef& context,
                              const std::string& host)
{
    const ScriptedResolver resolver(host, {"127.0.0.1"});
    blocxx::Socket socket(context);
    socket.connect(blocxx::SocketAddress::getByName(host.c_str(), server.port()));
    return readUpTo(socket, 5);
}

/// The client's failure to connect to the server by that name; what the server sees of it is ignored.
inline ConnectFailure failureAt(ScriptedServer& server, const blocxx::SSLClientCtxRef& context,
                                const std::string& host = "127.0.0.1")
{
    const ScriptedResolver resolver(host, {"127.0.0.1"});
    blocxx::Socket socket(context);
    ConnectFailure failure = connectFailure(socket, blocxx::SocketAddress::getByName(host.c_str(), server.port()));
    server.ignoreErrors();
    EXPECT_EQ(ERR_peek_error(), 0U);
    return failure;
}

} // namespace zol_test
