#include "exchange/BodyFraming.hpp"

#include "exchange/ExchangeUnit.hpp"
#include "exchange/HeadFields.hpp"

#include <string_view>

namespace ZOLNS2::HTTP
{

namespace
{

[[noreturn]] void throwMalformed(const ReceivedHead& head, const blocxx::String& problem)
{
    throw ExchangeException(
        ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_HEAD, ExchangeException::E_MALFORMED,
        blocxx::Format("The head of the response is malformed: %1", problem).c_str(), 0, head.statusLine.statusCode);
}

bool hasNoBody(const Request& request, const ReceivedHead& head)
{
    const unsigned short status = head.statusLine.statusCode;
    return viewOf(request.getRequestLine().method) == "HEAD" || status / 100 == 1 || status == 204 || status == 304;
}

/// Whether the body is chunked. A coding that this client has not offered makes the framing unknown.
bool isChunked(const ReceivedHead& head)
{
    unsigned codings = 0;
    blocxx::String other;
    const bool named = holdsField(head.fields, "Transfer-Encoding");
    forEachElement(head.fields, "Transfer-Encoding",
                   [&](std::string_view coding)
                   {
                       ++codings;
                       if (!equalsIgnoringCase(coding, "chunked"))
                       {
                           other = quoted(coding);
                       }
                   });
    if (named && (codings != 1 || !other.empty()))
    {
        throwMalformed(head,
                       other.empty()
                           ? blocxx::String("Transfer-Encoding is not exactly \"chunked\"")
                           : blocxx::String(blocxx::Format("Transfer-Encoding is not exactly \"chunked\": %1", other)));
    }
    return named;
}

/// Whether a length is announced; the same one several times is one.
bool readLength(const ReceivedHead& head, std::uint64_t& length)
{
    bool read = false;
    forEachElement(head.fields, "Content-Length",
                   [&](std::string_view text)
                   {
                       std::uint64_t value = 0;
                       if (!parseLength(text, value))
                       {
                           throwMalformed(head, blocxx::Format("Content-Length is no length: %1", quoted(text)));
                       }
                       if (read && value != length)
                       {
                           throwMalformed(head, blocxx::Format("Content-Length is both %1 and %2", length, value));
                       }
                       length = value;
                       read = true;
                   });
    if (!read && holdsField(head.fields, "Content-Length"))
    {
        throwMalformed(head, "Content-Length is empty");
    }
    return read;
}

/// What the Connection fields of a message say.
struct ConnectionOptions
{
    bool close = false;
    bool keepAlive = false;

    /// Most fields hold just one of the two.
    void add(const blocxx::String& value)
    {
        if (isName(value, "close"))
        {
            close = true;
        }
        else if (isName(value, "keep-alive"))
        {
            keepAlive = true;
        }
        else
        {
            forEachElement(viewOf(value), [this](std::string_view option) { addElement(option); });
        }
    }

    /// RFC 9112, section 9.3; HTTP/1.0 has to ask for it.
    bool wantToKeep(Version version) const { return !close && (version != HTTP_1_0 || keepAlive); }

private:
    void addElement(std::string_view option)
    {
        close = close || equalsIgnoringCase(option, "close");
        keepAlive = keepAlive || equalsIgnoringCase(option, "keep-alive");
    }
};

ConnectionOptions connectionOptionsOf(const Headers& fields)
{
    ConnectionOptions options;
    for (const Header& field : fields)
    {
        if (isName(field.name, "Connection"))
        {
            options.add(field.value);
        }
    }
    return options;
}

/// The fields that frame a message, where there is at most one of each name.
struct FramingFields
{
    explicit FramingFields(const Headers& fields)
    {
        for (const Header& field : fields)
        {
            note(field, "Content-Length", length) || note(field, "Transfer-Encoding", transferEncoding) ||
                note(field, "Connection", connection);
        }
    }

    const blocxx::String* length = nullptr;
    const blocxx::String* transferEncoding = nullptr;
    const blocxx::String* connection = nullptr;
    bool isRepeated = false;

private:
    bool note(const Header& field, std::string_view name, const blocxx::String*& value)
    {
        if (!isName(field.name, name))
        {
            return false;
        }
        isRepeated = isRepeated || value != nullptr;
        value = &field.value;
        return true;
    }
};

/// What the fields say, as far as it is needed.
struct FramingFacts
{
    bool isChunked;
    bool hasLength;
    std::uint64_t length;
    bool wantsToKeep;
};

BodyFraming framingFrom(const FramingFacts& facts, const Request& request, const ReceivedHead& head)
{
    BodyFraming framing;
    framing.length = facts.length;
    framing.kind = hasNoBody(request, head) ? BodyFraming::E_NONE
                   : facts.isChunked        ? BodyFraming::E_CHUNKED
                   : facts.hasLength        ? BodyFraming::E_LENGTH
                                            : BodyFraming::E_TO_CLOSE;
    // Both at once, and chunks in HTTP/1.0, are signs of an attack or a fault on the way (RFC 9112, section 6.1):
    // nothing behind such a body is trusted.
    const bool isSound = !(facts.isChunked && (facts.hasLength || head.statusLine.version == HTTP_1_0));
    framing.keepsConnection = isSound && framing.kind != BodyFraming::E_TO_CLOSE && head.statusLine.statusCode != 101 &&
                              facts.wantsToKeep &&
                              connectionOptionsOf(request.getHeaders()).wantToKeep(request.getRequestLine().version);
    return framing;
}

} // namespace

BodyFraming framingOf(const Request& request, const ReceivedHead& head)
{
    const FramingFields fields(head.fields);
    FramingFacts facts{false, fields.length != nullptr, 0, head.statusLine.version != HTTP_1_0};
    if (fields.isRepeated || fields.transferEncoding != nullptr ||
        (facts.hasLength && !parseLength(viewOf(*fields.length), facts.length)))
    {
        return framingByLists(request, head);
    }
    if (fields.connection != nullptr)
    {
        ConnectionOptions options;
        options.add(*fields.connection);
        facts.wantsToKeep = options.wantToKeep(head.statusLine.version);
    }
    return framingFrom(facts, request, head);
}

BodyFraming framingByLists(const Request& request, const ReceivedHead& head)
{
    FramingFacts facts{isChunked(head), false, 0, connectionOptionsOf(head.fields).wantToKeep(head.statusLine.version)};
    facts.hasLength = readLength(head, facts.length);
    return framingFrom(facts, request, head);
}

} // namespace ZOLNS2::HTTP
