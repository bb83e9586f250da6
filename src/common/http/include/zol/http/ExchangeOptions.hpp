#pragma once

#include "blocxx/Cancellation.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/LookUp.hpp"
#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Timeout.hpp"
#include "zol/Export.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

namespace ZOLNS2::HTTP
{

class ExchangeObserver;

/// How one exchange is to be done. The values at first are safe: nothing hangs, nothing fills the memory, and nothing
/// is followed. They hold for this exchange alone, on a connection that is kept as well.
///
/// @code
/// HTTP::ExchangeOptions options;
/// options.deadline = blocxx::Timeout::relative(10);
/// options.mostRedirects = 5;
/// HTTP::ExchangeResponse response = HTTP::exchange(request, options);
/// @endcode
struct ZOL_API ExchangeOptions
{
    /// As `bodyLimit`: any number of bytes.
    static constexpr std::uint64_t NO_LIMIT = std::numeric_limits<std::uint64_t>::max();

    ExchangeOptions();
    ExchangeOptions(const ExchangeOptions&);
    ExchangeOptions& operator=(const ExchangeOptions&);
    ~ExchangeOptions();

    /// Bounds looking up the host, connecting and the TLS handshake together.
    blocxx::Timeout connectTimeout = blocxx::Timeout::relative(30);

    /// Bounds the head of the response from the end of the request on, interim responses included, whatever progress
    /// it makes. The trailer of a chunked body is bounded by as much, and so is a head that comes before the end of the
    /// request.
    blocxx::Timeout headTimeout = blocxx::Timeout::relative(120);

    /// Bounds each read and each write: how long no byte may move.
    blocxx::Timeout progressTimeout = blocxx::Timeout::relative(60);

    /// Bounds everything, from the call to the end of the body, all redirects and the caller's own pauses between two
    /// reads of the body included. A relative one starts with the call.
    blocxx::Timeout deadline = blocxx::Timeout::infinite;

    /// The most bytes of a head, all interim ones and the trailer of a chunked body included.
    std::size_t headLimit = std::size_t{256} * 1024;

    /// The most bytes of the body, after decoding. ExchangeResponse::readAll() has a limit of its own.
    std::uint64_t bodyLimit = NO_LIMIT;

    /// How many redirects are followed (RFC 9110, section 15.4).
    unsigned mostRedirects = 0;

    /// The TLS context for a redirect from http to https; null for one that verifies against the system's trust store.
    blocxx::IntrusiveReference<blocxx::SSLClientCtx> redirectSslContext;

    /// Asks for a compressed body, and undoes gzip and deflate. The content then has no length.
    bool decompress = false;

    /// Sends the head of a request with content first and waits for the server's "100 Continue" (RFC 9110, section
    /// 10.1.1), at most this long; then the content is sent all the same.
    bool expectContinue = false;
    /// How long to wait for "100 Continue".
    blocxx::Timeout continueTimeout = blocxx::Timeout::relative(1);

    /// The addresses to look for.
    blocxx::LookUp::EFamily family = blocxx::LookUp::E_ANY_FAMILY;

    /// Gives the exchange up from outside; its body too, as long as its end has not been reported.
    std::optional<blocxx::Cancellation> cancellation;

    /// Is told what is sent and received; must live until exchange() returns. Null for none.
    ExchangeObserver* observer = nullptr;
};

} // namespace ZOLNS2::HTTP
