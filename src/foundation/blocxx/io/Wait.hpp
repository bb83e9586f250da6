#pragma once

#include "io/Deadline.hpp"

namespace blocxx
{

class OperationBounds;

/// Waits until the descriptor is ready for the events (POLLIN, POLLOUT), or has failed, which the transfer that follows
/// reports. Signals do not end the wait. `bounds` may be null; they end it also when the descriptor is ready.
/// @param seen gets the events that it is ready with
/// @return whether it is ready; if not, `errno` tells why: ETIMEDOUT when the time or the deadline is up, ECANCELED.
bool waitUntilReady(int descriptor, short events, const Deadline& deadline, OperationBounds* bounds,
                    short* seen = nullptr);

/// The earlier of two times left, as poll(2) takes them.
int earlierTimeout(int left, int right);

} // namespace blocxx
