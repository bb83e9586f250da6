#pragma once

#include "blocxx/LookUp.hpp"
#include "blocxx/String.hpp"

#include <netdb.h>

#include <memory>

namespace blocxx
{

/// What the system's resolver says of a name.
struct NameLookUp
{
    int code;  ///< as getaddrinfo(3) returns it
    int error; ///< the `errno` value behind EAI_SYSTEM, 0 if the resolver's thread kept it
    std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses;
};

/// Looks a name up for stream sockets. Only a look-up with a limit uses the C library's threads.
/// @throws SocketException with code ETIMEDOUT or ECANCELED when a limit is reached
NameLookUp lookUpName(const String& name, const LookUp& limits);

} // namespace blocxx
