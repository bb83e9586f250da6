#pragma once

namespace blocxx
{

/// Flags for constructing sockets.
class SocketFlags
{
public:
    enum ESSLFlag
    {
        E_NOT_SSL, ///< plain TCP
        E_SSL      ///< TLS
    };
};

} // namespace blocxx
