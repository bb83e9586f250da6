#pragma once

#include <string>
#include <string_view>

namespace zolget
{

/// Why no TLS context could be made, for the user: the text of the library's exception, with advice in terms of the
/// command line in place of that in terms of the API.
std::string describeContextFailure(std::string_view text);

/// Why a TLS handshake failed, for the user; likewise.
std::string describeHandshakeFailure(std::string_view text);

/// Why a TLS connection failed after its handshake, for the user: the reason that the library kept, with advice.
std::string describeSessionFailure(std::string_view text);

/// Whether the reason is an alert from the server: it refuses the connection, and will again.
bool isTlsAlert(std::string_view text);

} // namespace zolget
