#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"

#include <openssl/types.h>

namespace blocxx
{

/// What a client's hello offers. All of them throw SSLException for what cannot be offered; the text names it.

/// The oldest version to speak; what the system's configuration asks for beyond it stays.
void requireVersion(SSL_CTX* context, int minimum);

/// The suites for TLS 1.2, by their names with colons between them. Empty names change nothing.
void offerCiphers(SSL_CTX* context, const String& names);

/// The suites for TLS 1.3, likewise.
void offerCipherSuites(SSL_CTX* context, const String& names);

/// The protocols for ALPN (RFC 7301); none if empty.
void offerProtocols(SSL_CTX* context, const Array<String>& names);

} // namespace blocxx
