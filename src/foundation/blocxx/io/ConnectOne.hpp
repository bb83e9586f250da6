#pragma once

#include "core/FileDescriptor.hpp"
#include "io/ConnectAttempts.hpp"

namespace blocxx
{

struct OneConnect
{
    ConnectAttempts::EOutcome outcome;
    int error; ///< of a failure
    FileDescriptor socket;
};

/// Does for a peer with one address what ConnectAttempts does for any number, with the same outcome. Most peers have one,
/// and what keeps attempts side by side apart (copies of the address, two arrays, the time of the next attempt) costs more
/// than half of a connect. `bounds` may be null.
OneConnect connectToOne(const SocketAddress& address, const Deadline& deadline, OperationBounds* bounds);

} // namespace blocxx
