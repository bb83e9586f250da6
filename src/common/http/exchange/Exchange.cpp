#include "zol/http/Exchange.hpp"

#include "exchange/BodyFraming.hpp"
#include "exchange/ContentTypeField.hpp"
#include "exchange/DecodedBody.hpp"
#include "exchange/ExchangeUnit.hpp"
#include "exchange/FramedBody.hpp"
#include "exchange/HeadFields.hpp"
#include "exchange/HeadReceiver.hpp"
#include "exchange/OpenLink.hpp"
#include "exchange/Redirect.hpp"
#include "exchange/RequestCheck.hpp"
#include "exchange/RequestContent.hpp"
#include "exchange/RequestSender.hpp"
#include "exchange/Text.hpp"

#include "zol/http/ExchangeObserver.hpp"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace ZOLNS2::HTTP
{

namespace
{

using RequestContentPtr = std::unique_ptr<RequestContent>;

/// The readings of a request's content: the one to be sent, and one in reserve for a redirect, as a content that can
/// be read once only has to be known before anything is sent.
class Readings
{
public:
    Readings(const MIME::ContentRef& content, bool withReserve) : m_content(content)
    {
        if (m_content)
        {
            m_current = RequestContent::of(m_content);
            renew(withReserve);
        }
    }

    RequestContent* current() const { return m_current.get(); }
    bool hasReserve() const { return m_reserve != nullptr; }
    const blocxx::String& problem() const { return m_problem; }

    /// The reserve becomes the current one.
    void advance(bool withReserve)
    {
        m_current = std::move(m_reserve);
        renew(withReserve);
    }

private:
    void renew(bool withReserve)
    {
        if (!withReserve)
        {
            return;
        }
        try
        {
            m_reserve = RequestContent::of(m_content);
        }
        catch (const ExchangeException& exception)
        {
            m_problem = exception.getMessage();
        }
    }

    MIME::ContentRef m_content;
    RequestContentPtr m_current;
    RequestContentPtr m_reserve;
    blocxx::String m_problem;
};

/// One call of exchange(), all redirects included.
class Exchanging
{
public:
    Exchanging(const ExchangeOptions& options, const char* signature)
        : m_options(options), m_guard(options), m_log(ExchangeUnit::LOG_UNIT, signature)
    {
    }

    /// @param kept null for a connection of its own
    ExchangeResponse run(const Request& request, const ExchangeLinkRef& kept);

private:
    struct Received
    {
        ReceivedHead head;
        size_t trailerLimit;
        bool requestIsWhole;
    };

    ExchangeLinkRef linkFor(const Request& request, const Url& url, const ExchangeLinkRef& kept);
    Received sendAndReceive(const Request& request, RequestContent* content, ExchangeLink& link);
    blocxx::String extraFields(const Request& request, bool hasContent) const;
    Redirect redirectOf(const Request& request, const Url& url, const ReceivedHead& head, const Readings& readings,
                        unsigned followed) const;
    ExchangeResponse respond(const Request& request, const Url& url, Received&& received, const ExchangeLinkRef& link,
                             const blocxx::String& note) const;

    const ExchangeOptions& m_options;
    const ExchangeGuard m_guard;
    const OperationLog m_log;
    bool m_withOwnCertificate = true;
};

void requireReusable(ExchangeLink& link)
{
    if (link.isReusable())
    {
        return;
    }
    if (!link.isIdle())
    {
        throw ExchangeException(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_CONNECT,
                                ExchangeException::E_ERROR,
                                "The connection cannot be used again: see ExchangeConnection::reusable()");
    }
    const blocxx::String address = link.socket().getPeerAddress().toString();
    ExchangeException exception(
        ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_CONNECT, ExchangeException::E_CUT,
        blocxx::Format("The server has closed the kept connection, or sent something unasked: %1", address).c_str());
    exception.setSafeToRepeat();
    throw exception;
}

void requireServer(const ExchangeLink& link, const Url& url, const Request& request)
{
    if (!link.leadsTo(url, request.getSSLContext()))
    {
        throw ExchangeException(
            ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_CONNECT, ExchangeException::E_ERROR,
            blocxx::Format("The connection was not opened for %1 with this TLS context", url.hostAndPort()).c_str());
    }
}

ExchangeLinkRef Exchanging::linkFor(const Request& request, const Url& url, const ExchangeLinkRef& kept)
{
    if (!kept)
    {
        return openLink(request, url, m_guard, m_options, m_withOwnCertificate);
    }
    requireServer(*kept, url, request);
    requireReusable(*kept);
    kept->begin(m_guard, m_options);
    return kept;
}

ExchangeResponse Exchanging::run(const Request& first, const ExchangeLinkRef& kept)
{
    checkRequest(first);
    std::optional<Request> redirected;
    Readings readings(first.getContent(), m_options.mostRedirects > 0);
    for (unsigned followed = 0;; ++followed)
    {
        const Request& request = redirected ? *redirected : first;
        const Url url = urlOf(request);
        ZOL_LOG(m_log, DEBUG2,
                blocxx::Format("Making the following request: %1 %2", request.getRequestLine().method, url.toString()));
        const ExchangeLinkRef link = linkFor(request, url, followed == 0 ? kept : ExchangeLinkRef());
        if (m_options.observer != nullptr)
        {
            m_options.observer->connected(ExchangeConnection(link));
        }
        ZOL_LOG(m_log, DEBUG3, blocxx::Format("Connected to %1", link->socket().getPeerAddress().toString()));
        Received received = sendAndReceive(request, readings.current(), *link);
        ZOL_LOG(m_log, DEBUG2, blocxx::Format("Received: %1", received.head.statusLine.toString()));
        ZOL_LOG(m_log, DEBUG3, received.requestIsWhole ? "The request was sent whole" : "The request was sent in part");
        const Redirect redirect = redirectOf(request, url, received.head, readings, followed);
        if (!redirect.next)
        {
            return respond(request, url, std::move(received), link, redirect.note);
        }
        m_withOwnCertificate = m_withOwnCertificate && !redirect.toOtherOrigin;
        redirected = redirect.next;
        if (redirect.needsContent)
        {
            readings.advance(followed + 1 < m_options.mostRedirects);
        }
        else
        {
            readings = Readings(MIME::ContentRef(), false);
        }
    }
}

Exchanging::Received Exchanging::sendAndReceive(const Request& request, RequestContent* content, ExchangeLink& link)
{
    HeadReceiver receiver(link, m_guard, m_options);
    RequestSender sender(link, m_guard, m_options, receiver);
    const blocxx::String extra = extraFields(request, content != nullptr);
    sender.send(request, viewOf(extra), content);
    link.setDeadline(m_guard.within(m_options.headTimeout));
    ReceivedHead head = sender.earlyResponse() ? ReceivedHead(*sender.earlyResponse()) : receiver.nextFinal();
    sender.requireSentWhole(head);
    link.setDeadline(m_guard.deadline());
    return {std::move(head), receiver.bytesLeft(), sender.sentWhole()};
}

blocxx::String Exchanging::extraFields(const Request& request, bool hasContent) const
{
    std::string fields;
    const Headers& headers = request.getHeaders();
    if (m_options.decompress && headers.getHeaderValue("Accept-Encoding").empty() &&
        headers.getHeaderValue("Range").empty())
    {
        fields += "Accept-Encoding: gzip, deflate\r\n";
    }
    if (m_options.expectContinue && hasContent && !holdsToken(headers, "Expect", "100-continue"))
    {
        fields += "Expect: 100-continue\r\n";
    }
    return blocxx::String(std::move(fields));
}

Redirect Exchanging::redirectOf(const Request& request, const Url& url, const ReceivedHead& head,
                                const Readings& readings, unsigned followed) const
{
    if (m_options.mostRedirects == 0)
    {
        return Redirect();
    }
    Redirect redirect = HTTP::redirectOf(request, url, head, m_options);
    if (redirect.next && followed == m_options.mostRedirects)
    {
        redirect.next.reset();
        redirect.note = blocxx::Format("It is behind %1 others, the most that are followed", followed);
    }
    if (redirect.next && redirect.needsContent && !readings.hasReserve())
    {
        redirect.next.reset();
        redirect.note = blocxx::Format("The content of the request cannot be read again: %1", readings.problem());
    }
    return redirect;
}

/// @return whether the coding is one that can be undone
bool readCoding(const Request& request, const ReceivedHead& head, DecodedBody::ECoding& coding)
{
    // What is a range of compressed data cannot be decoded by itself.
    if (head.statusLine.statusCode == 206 || !request.getHeaders().getHeaderValue("Range").empty())
    {
        return false;
    }
    unsigned codings = 0;
    bool known = false;
    forEachElement(head.fields, "Content-Encoding",
                   [&](std::string_view name)
                   {
                       if (equalsIgnoringCase(name, "identity"))
                       {
                           return;
                       }
                       ++codings;
                       const bool isGzip = equalsIgnoringCase(name, "gzip") || equalsIgnoringCase(name, "x-gzip");
                       known = isGzip || equalsIgnoringCase(name, "deflate");
                       coding = isGzip ? DecodedBody::E_GZIP : DecodedBody::E_DEFLATE;
                   });
    return codings == 1 && known;
}

ExchangeResponse Exchanging::respond(const Request& request, const Url& url, Received&& received,
                                     const ExchangeLinkRef& link, const blocxx::String& note) const
{
    ReceivedHead& head = received.head;
    BodyFraming framing = framingOf(request, head);
    framing.keepsConnection = framing.keepsConnection && received.requestIsWhole;
    DecodedBody::ECoding coding = DecodedBody::E_GZIP;
    const bool decodes = m_options.decompress && !framing.isEmpty() && readCoding(request, head, coding);
    const unsigned short status = head.statusLine.statusCode;
    ExchangeResponse::Head result{std::move(head.statusLine), head.fields,
                                  contentTypeOf(head.fields, octetStreamType()), url.toString(), note};
    ReceivedBodyRef body(new FramedBody(link, m_guard, framing, result.contentType, status,
                                        decodes ? ExchangeOptions::NO_LIMIT : m_options.bodyLimit,
                                        received.trailerLimit, m_options.headTimeout));
    if (decodes)
    {
        body = ReceivedBodyRef(new DecodedBody(body, coding, m_options.bodyLimit));
    }
    return ExchangeResponse(std::move(result), body, ExchangeConnection(link));
}

} // namespace

ExchangeResponse exchange(const Request& request, const ExchangeOptions& options)
{
    return Exchanging(options, __PRETTY_FUNCTION__).run(request, ExchangeLinkRef());
}

ExchangeResponse exchange(const ExchangeConnection& connection, const Request& request, const ExchangeOptions& options)
{
    return Exchanging(options, __PRETTY_FUNCTION__).run(request, connection.link());
}

} // namespace ZOLNS2::HTTP
