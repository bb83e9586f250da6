#pragma once

#include "blocxx/internal/CancellationOff.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <poll.h>
#include <pthread.h>

#include <cerrno>

namespace blocxx
{

/// Calls OpenSSL with a clean error queue and an errno of 0. A thread is cancelled before the call or in the waits,
/// never in the call: OpenSSL does not clean up its state when something unwinds through it.
template <class Call>
int callOpenSSL(SSL* session, Call function)
{
    ::pthread_testcancel();
    const Internal::CancellationOff inOpenSSL;
    // Clearing an empty queue takes ten times as long as looking at it.
    if (ERR_peek_error() != 0)
    {
        ERR_clear_error();
    }
    errno = 0;
    return function(session);
}

/// The event that a call in progress waits for, by its SSL_get_error; 0 if it is not in progress.
inline short awaitedEvent(int sslError)
{
    switch (sslError)
    {
    case SSL_ERROR_WANT_READ:
        return POLLIN;
    case SSL_ERROR_WANT_WRITE:
        return POLLOUT;
    default:
        return 0;
    }
}

} // namespace blocxx
