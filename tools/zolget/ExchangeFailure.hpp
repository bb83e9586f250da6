#pragma once

#include "Options.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/http/ExchangeResponse.hpp"
#include "zol/http/Url.hpp"

namespace zolget
{

/// Turns what the library says about a failed exchange into the Failure for the user: with the exit status, and with
/// advice in terms of the command line.
class ExchangeFailure
{
public:
    ExchangeFailure(const Options& options, const ZOLNS2::HTTP::Url& url) : m_options(options), m_url(url) {}

    /// Throws the Failure; a TransientFailure if it may pass.
    [[noreturn]] void raise(const ZOLNS2::HTTP::ExchangeException& error) const;

    /// The same for a body that is not complete. @param keptText what becomes of what arrived
    [[noreturn]] void raiseForBody(const ZOLNS2::HTTP::ExchangeResponse& response, const std::string& keptText) const;

private:
    using Cause = ZOLNS2::HTTP::ExchangeException::ECause;

    [[noreturn]] void raiseForLookUp(Cause cause, const std::string& text) const;
    [[noreturn]] void raiseForConnect(Cause cause, const std::string& text) const;
    [[noreturn]] void raiseForTls(Cause cause, const std::string& text) const;
    [[noreturn]] void raiseForSending(const ZOLNS2::HTTP::ExchangeException& error) const;
    [[noreturn]] void raiseForHead(Cause cause, const std::string& text) const;
    [[noreturn]] void raiseForIncomplete(const std::string& what, Cause cause, const std::string& text,
                                         const std::string& keptText = std::string()) const;
    void checkDeadline(Cause cause, const std::string& text) const;
    void checkAlert(const std::string& text) const;
    std::string silence(const char* what) const;
    std::string authority() const;

    const Options& m_options;
    const ZOLNS2::HTTP::Url& m_url;
};

} // namespace zolget
