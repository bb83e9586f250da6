#include "zol/http/Exchange.hpp"

#include "exchange/BodyFraming.hpp"
#include "exchange/ContentTypeField.hpp"
#include "exchange/DecodedBody.hpp"
#include "exchange/ExchangeUnit.hpp"
#include "exchange/ExtraFields.hpp"
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
    ExchangeResponse runUnlogged(const Request& first, const ExchangeLinkRef& kept);

    struct Received
    {
        ExchangeLinkRef link;
        blocxx::String url;
        ReceivedHead head;
        size_t trailerLimit = 0;
        bool requestIsWhole = false;
    };

    /// @param recent null for a request that is not the one before over its connection
    Redirect step(const Request& request, const Url& url, RecentRequest* recent, const ExchangeLinkRef& kept,
                  const Readings& readings, unsigned followed, Received& received);
    ExchangeLinkRef linkFor(const Request& request, const Url& url, const RecentRequest* recent,
                            const ExchangeLinkRef& kept);
    void sendAndReceive(const Request& request, RecentRequest* recent, RequestContent* content, Received& received);
    Redirect redirectOf(const Request& request, const Url& url, const ReceivedHead& head, const Readings& readings,
                        unsigned followed) const;
    ExchangeResponse respond(const Request& request, const MIME::ContentTypeHeader& type, Received& received,
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

ExchangeLinkRef Exchanging::linkFor(const Request& request, const Url& url, const RecentRequest* recent,
                                    const ExchangeLinkRef& kept)
{
    if (!kept)
    {
        return openLink(request, url, m_guard, m_options, m_withOwnCertificate);
    }
    if (recent == nullptr)
    {
        requireServer(*kept, url, request);
    }
    requireReusable(*kept);
    if (recent == nullptr && !request.getContent())
    {
        kept->recent().request.remember(request, url);
    }
    kept->begin(m_guard, m_options);
    return kept;
}

ExchangeResponse Exchanging::run(const Request& request, const ExchangeLinkRef& kept)
{
    try
    {
        return runUnlogged(request, kept);
    }
    catch (const ExchangeException& failure)
    {
        ZOL_LOG(m_log, DEBUG2, blocxx::Format("The exchange failed: %1", failure.getMessage()));
        throw;
    }
}

ExchangeResponse Exchanging::runUnlogged(const Request& first, const ExchangeLinkRef& kept)
{
    RecentRequest* const recent = kept ? kept->recent().request.ifSame(first) : nullptr;
    if (recent == nullptr)
    {
        checkRequest(first);
    }
    Readings readings(first.getContent(), m_options.mostRedirects > 0);
    Received received;
    Redirect redirect = recent != nullptr ? step(first, recent->url(), recent, kept, readings, 0, received)
                                          : step(first, urlOf(first), nullptr, kept, readings, 0, received);
    std::optional<Request> redirected;
    for (unsigned followed = 1; redirect.next; ++followed)
    {
        m_withOwnCertificate = m_withOwnCertificate && !redirect.toOtherOrigin;
        redirected = redirect.next;
        if (redirect.needsContent)
        {
            readings.advance(followed < m_options.mostRedirects);
        }
        else
        {
            readings = Readings(MIME::ContentRef(), false);
        }
        received = Received();
        redirect = step(*redirected, urlOf(*redirected), nullptr, ExchangeLinkRef(), readings, followed, received);
    }
    const Request& last = redirected ? *redirected : first;
    // Other responses over one connection mostly are of the type of the one before.
    return received.link->servedBefore()
               ? respond(last, received.link->recent().response.typeOf(received.head.fields), received, redirect.note)
               : respond(last, contentTypeOf(received.head.fields, octetStreamType()), received, redirect.note);
}

Redirect Exchanging::step(const Request& request, const Url& url, RecentRequest* recent, const ExchangeLinkRef& kept,
                          const Readings& readings, unsigned followed, Received& received)
{
    ZOL_LOG(m_log, DEBUG2,
            blocxx::Format("Making the following request: %1 %2", request.getRequestLine().method, url.toString()));
    received.link = linkFor(request, url, recent, kept);
    if (m_options.observer != nullptr)
    {
        m_options.observer->connected(ExchangeConnection(received.link));
    }
    ZOL_LOG(m_log, DEBUG3,
            blocxx::Format(kept ? "Using the kept connection to %1" : "Connected to %1",
                           received.link->socket().getPeerAddress().toString()));
    sendAndReceive(request, recent, readings.current(), received);
    ZOL_LOG(m_log, DEBUG2, blocxx::Format("Received: %1", received.head.statusLine.toString()));
    ZOL_LOG(m_log, DEBUG3, received.requestIsWhole ? "The request was sent whole" : "The request was sent in part");
    Redirect redirect = redirectOf(request, url, received.head, readings, followed);
    if (recent != nullptr)
    {
        received.url = recent->urlText();
    }
    else
    {
        received.url = url.toString();
    }
    return redirect;
}

void Exchanging::sendAndReceive(const Request& request, RecentRequest* recent, RequestContent* content,
                                Received& received)
{
    ExchangeLink& link = *received.link;
    HeadReceiver receiver(link, m_guard, m_options);
    RequestSender sender(link, m_guard, m_options, receiver);
    if (recent != nullptr)
    {
        sender.send(recent->head(m_options));
    }
    else
    {
        const blocxx::String extra = extraFields(request, m_options, content != nullptr);
        sender.send(request, viewOf(extra), content);
    }
    link.setDeadline(m_guard.within(m_options.headTimeout));
    if (sender.earlyResponse())
    {
        received.head = *sender.earlyResponse();
    }
    else
    {
        receiver.nextFinal(received.head);
    }
    sender.requireSentWhole(received.head);
    link.setDeadline(m_guard.deadline());
    received.trailerLimit = receiver.bytesLeft();
    received.requestIsWhole = sender.sentWhole();
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

ExchangeResponse Exchanging::respond(const Request& request, const MIME::ContentTypeHeader& type, Received& received,
                                     const blocxx::String& note) const
{
    ReceivedHead& head = received.head;
    BodyFraming framing = framingOf(request, head);
    framing.keepsConnection = framing.keepsConnection && received.requestIsWhole;
    DecodedBody::ECoding coding = DecodedBody::E_GZIP;
    const bool decodes = m_options.decompress && !framing.isEmpty() && readCoding(request, head, coding);
    ReceivedBodyRef body(new FramedBody(received.link, m_guard, framing, type, head.statusLine.statusCode,
                                        decodes ? ExchangeOptions::NO_LIMIT : m_options.bodyLimit,
                                        received.trailerLimit, m_options.headTimeout));
    if (decodes)
    {
        body = ReceivedBodyRef(new DecodedBody(body, coding, m_options.bodyLimit));
    }
    return ExchangeResponse(std::move(head.statusLine), head.fields, type, std::move(received.url), note, body,
                            ExchangeConnection(received.link));
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
