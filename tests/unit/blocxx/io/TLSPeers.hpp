#pragma once

#include "support/Certificates.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/SSLCtxMgr.hpp"

#include <string>

namespace zol_test
{

/// The authority that the TLS tests trust.
const Certificate& testAuthority();

/// A certificate of the test authority for 127.0.0.1, ::1, `server.example` and `*.wild.example`.
const Certificate& serverCertificate();

/// The options of a server with that certificate, sent with its issuer.
ScriptedServer::Options tlsServer(const Certificate& certificate, const Certificate& issuer = testAuthority());
ScriptedServer::Options tlsServer();

/// A client that trusts the authority and nothing else.
blocxx::SSLClientCtxRef clientTrusting(const Certificate& authority);
blocxx::SSLClientCtxRef trustingClient();

/// A client that accepts any certificate.
blocxx::SSLClientCtxRef uncheckedClient();

} // namespace zol_test
