#pragma once

#include "exchange/ExchangeLink.hpp"
#include "exchange/HeadReceiver.hpp"
#include "exchange/RequestContent.hpp"

#include "zol/http/Request.hpp"

#include <optional>
#include <string_view>

namespace ZOLNS2::HTTP
{

/// Sends one request, and looks out for what the server says meanwhile: a final response ends the sending (RFC 9112,
/// section 9.5).
class RequestSender
{
public:
    RequestSender(ExchangeLink& link, const ExchangeGuard& guard, const ExchangeOptions& options,
                  HeadReceiver& receiver)
        : m_link(link), m_guard(guard), m_options(options), m_receiver(receiver)
    {
    }

    /// @param extraFields header lines to be added, each with its line end
    /// @param content     null for a request without content
    /// @throws ExchangeException  the content failed, or the sending did and no response explains it
    void send(const Request& request, std::string_view extraFields, RequestContent* content);

    /// The same for a request without content whose head has been written already.
    void send(std::string_view head);

    /// The final response that came while the request was being sent.
    const std::optional<ReceivedHead>& earlyResponse() const { return m_early; }

    bool sentWhole() const { return m_sentWhole; }

    /// @throws ExchangeException if the request was not sent whole, and the response, one of 200 to 299, takes no notice
    void requireSentWhole(const ReceivedHead& head) const;

private:
    bool writeHead(std::string_view head);
    bool write(std::string_view bytes);
    bool awaitContinue();
    void sendContent(std::string_view head, RequestContent& content, const Request& request);
    bool receive();
    void receiveHead(ReceivedHead& head);
    void receiveAfterFailure(int error);

    ExchangeLink& m_link;
    const ExchangeGuard& m_guard;
    const ExchangeOptions& m_options;
    HeadReceiver& m_receiver;
    std::optional<ReceivedHead> m_early;
    bool m_sentWhole = false;
};

} // namespace ZOLNS2::HTTP
