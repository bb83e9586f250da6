#pragma once

#include <sys/types.h>

#include <cstddef>

namespace blocxx
{

/// recv(2) and send(2) on a socket, without blocking and without SIGPIPE; interrupted calls are repeated.
/// @return what the call returned; -1 with `errno` EAGAIN if it would block.
ssize_t receiveNow(int descriptor, void* data, std::size_t length);
ssize_t sendNow(int descriptor, const void* data, std::size_t length);

} // namespace blocxx
