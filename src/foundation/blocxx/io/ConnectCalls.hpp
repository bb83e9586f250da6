#pragma once

#include "core/FileDescriptor.hpp"

#include "blocxx/SocketAddress.hpp"

namespace blocxx
{

/// Starts to connect a new socket, non-blocking and closed on exec, to the first address of `address`.
/// @param error 0 if it is connected, EINPROGRESS if that is under way, else why it failed
/// @return open unless it failed
FileDescriptor beginConnect(const SocketAddress& address, int& error);

/// What came of a connect under way that is ready. @return 0 or the `errno` value of the failure
int connectOutcome(int descriptor);

/// For a socket that is connected to the first address of `address`: refuses one that is connected to itself, and sets
/// what all connections have. @return 0 or the `errno` value of the refusal
int finishConnect(int descriptor, const SocketAddress& address);

} // namespace blocxx
