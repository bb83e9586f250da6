#pragma once

#include "io/Deadline.hpp"

namespace blocxx
{

/// Waits until the descriptor is ready for the events (POLLIN, POLLOUT), or has failed, which the transfer that follows
/// reports. Signals do not end the wait.
/// @return whether it is ready; if not, `errno` tells why: ETIMEDOUT when the time is up.
bool waitUntilReady(int descriptor, short events, const Deadline& deadline);

} // namespace blocxx
