#pragma once

#include "Deadline.hpp"
#include "Options.hpp"
#include "Trace.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "zol/http/Exchange.hpp"

#include <optional>

namespace zolget
{

/// What all requests of a run share: the TLS context, the time limits, and a connection that is kept from one to the
/// next.
class Session
{
public:
    /// Throws Failure (TLS, LOCAL_FILE).
    Session(const Options& options, const Deadline& deadline);

    const Options& options() const { return m_options; }
    const Deadline& deadline() const { return m_deadline; }
    const blocxx::SSLClientCtxRef& tlsContext() const { return m_tlsContext; }

    /// Sends the request for the URL, over the kept connection if it leads there. Throws ExchangeException.
    ZOLNS2::HTTP::ExchangeResponse exchange(const ZOLNS2::HTTP::Url& url, const ZOLNS2::HTTP::Request& request);

    /// The response has been read: keeps its connection if it can be used again.
    void keepConnectionOf(const ZOLNS2::HTTP::ExchangeResponse& response);

private:
    struct Kept
    {
        ZOLNS2::HTTP::Url url;
        ZOLNS2::HTTP::ExchangeConnection connection;
    };

    ZOLNS2::HTTP::ExchangeOptions exchangeOptions();

    const Options& m_options;
    Deadline m_deadline;
    blocxx::SSLClientCtxRef m_tlsContext;
    Trace m_trace;
    std::optional<Kept> m_kept;
};

} // namespace zolget
