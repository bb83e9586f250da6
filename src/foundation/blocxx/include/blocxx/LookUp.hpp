#pragma once

#include "blocxx/Cancellation.hpp"
#include "blocxx/Timeout.hpp"

#include <optional>

namespace blocxx
{

/// How SocketAddress::getByName looks a host up.
///
/// @code
/// blocxx::LookUp limits;
/// limits.timeout = blocxx::Timeout::relative(10);
/// limits.family = blocxx::LookUp::E_IPV4_ONLY;
/// const auto address = blocxx::SocketAddress::getByName("www.example.com", 443, limits);
/// @endcode
///
/// The system's resolver has no time-out of the caller's and cannot be interrupted. So a look-up with a time-out or a
/// cancellation is given to the C library's pool of threads (getaddrinfo_a(3)), which follows the same configuration,
/// and waited for. What that cannot do:
/// - A look-up that is given up is not stopped: its thread works on until the resolver returns, and its memory, some
///   hundred bytes, is freed by a later look-up.
/// - The pool belongs to the process and has 20 threads. While all are busy, a look-up waits for one of them, and may
///   time out before it starts; its slot in the queue is then given back.
/// - A cancellation is noticed within 20 ms, a signal handler's at once.
/// - A forked child has no use of its parent's pool. There the look-up is a plain getaddrinfo(3), which blocks for as
///   long as the resolver does; the limits are looked at before and after it.
struct LookUp
{
    /// Which addresses to look for.
    enum EFamily
    {
        E_ANY_FAMILY,
        E_IPV4_ONLY,
        E_IPV6_ONLY
    };

    Timeout timeout = Timeout::infinite;      ///< how long the look-up of a name may take
    std::optional<Cancellation> cancellation; ///< gives it up
    EFamily family = E_ANY_FAMILY;            ///< of the addresses wanted
};

} // namespace blocxx
