#pragma once

#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/ExchangeConnection.hpp"
#include "zol/http/Headers.hpp"
#include "zol/http/StatusLine.hpp"

namespace ZOLNS2::HTTP
{

/// Is told what an exchange sends and receives while it does so, interim responses and redirects included: for a program
/// that shows its user what happens. Subclasses override what they want to know.
///
/// @code
/// class Trace : public HTTP::ExchangeObserver
/// {
///     void sending(const blocxx::String& head) override { std::cerr << head; }
/// };
/// Trace trace;
/// HTTP::ExchangeOptions options;
/// options.observer = &trace;
/// @endcode
///
/// Called on the thread that calls exchange(). What it throws ends the exchange and passes through as it is.
class ZOL_API ExchangeObserver
{
public:
    ExchangeObserver();
    ExchangeObserver(const ExchangeObserver&);
    ExchangeObserver& operator=(const ExchangeObserver&);
    virtual ~ExchangeObserver();

    /// A connection was opened, or a kept one is used again.
    virtual void connected(const ExchangeConnection& connection);

    /// @param head of a request that is about to be sent, as it will stand on the wire, the empty line included. It may
    ///             hold passwords.
    virtual void sending(const blocxx::String& head);

    /// The head of a response, of an interim one as well. It may hold control characters.
    virtual void received(const StatusLine& statusLine, const Headers& headers);
};

} // namespace ZOLNS2::HTTP
