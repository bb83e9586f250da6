#pragma once

#include "Destination.hpp"
#include "Session.hpp"

#include "zol/mime/Content.hpp"

#include <memory>

namespace zolget
{

/// Fetches one URL and writes the response as the command line asks.
class Fetch
{
public:
    /// @param body   of the request; null for none
    /// @param isLast whether no other URL follows, so that the connection need not be kept
    Fetch(Session& session, const ZOLNS2::HTTP::Url& url, const ZOLNS2::MIME::ContentRef& body, bool isLast);

    /// Repeats what may pass as often as the options allow. Throws Failure.
    void run();

private:
    void runOnce(bool mayRepeat);
    void exchange(Destination& destination, bool mayRepeat);
    void receive(const ZOLNS2::HTTP::ExchangeResponse& response, Destination& destination, bool mayRepeat);
    void takeErrorBody(const ZOLNS2::HTTP::ExchangeResponse& response, bool isToBeShown);
    void copy(const ZOLNS2::HTTP::ExchangeResponse& response, Destination& destination) const;
    bool hasBody(const ZOLNS2::HTTP::ExchangeResponse& response) const;
    std::unique_ptr<Destination> makeDestination() const;

    Session& m_session;
    const Options& m_options;
    const ZOLNS2::HTTP::Url& m_url;
    ZOLNS2::MIME::ContentRef m_body;
    bool m_isLast;
};

} // namespace zolget
