#pragma once

namespace blocxx
{

/// Flags for constructing sockets.
class SocketFlags
{
public:
    /// Whether a socket speaks TLS.
    enum ESSLFlag
    {
        E_NOT_SSL, ///< plain TCP
        E_SSL      ///< TLS
    };
};

} // namespace blocxx
