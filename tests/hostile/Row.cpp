#include "Row.hpp"

#include <algorithm>
#include <stdexcept>

namespace hostile
{

namespace
{

const char* nameOf(ExchangeException::EPhase phase)
{
    static const char* const NAMES[] = {"URL", "look-up", "connect", "TLS", "sending", "head", "body", "redirect"};
    return NAMES[phase];
}

const char* nameOf(ExchangeException::ECause cause)
{
    static const char* const NAMES[] = {"error", "cut",       "timed out", "deadline",
                                        "reset", "cancelled", "malformed", "limit"};
    return NAMES[cause];
}

const char* nameOf(ExchangeResponse::EBodyEnd end)
{
    static const char* const NAMES[] = {"open",      "complete", "cut",       "timed out", "deadline",
                                        "cancelled", "reset",    "malformed", "too large", "failed"};
    return NAMES[end];
}

std::string describe(const std::vector<Bytes>& bodies)
{
    const auto bytes = [](const Bytes& body) { return std::to_string(body.size()) + " bytes"; };
    if (bodies.size() == 1)
    {
        return bytes(bodies.front());
    }
    if (bodies.size() > 3)
    {
        return std::to_string(bodies.size()) + " parts";
    }
    std::string text = bodies.empty() ? "no part" : "";
    for (const Bytes& body : bodies)
    {
        text += (text.empty() ? "" : " and ") + bytes(body);
    }
    return text;
}

} // namespace

ExchangeOutcome ExchangeOutcome::saying(const char* text) const
{
    ExchangeOutcome outcome = *this;
    outcome.words = text;
    return outcome;
}

ExchangeOutcome gives(unsigned status, Bytes body, ExchangeResponse::EBodyEnd end)
{
    ExchangeOutcome outcome;
    outcome.status = status;
    outcome.bodies = {std::move(body)};
    outcome.end = end;
    return outcome;
}

ExchangeOutcome givesSome(unsigned status, Bytes body, ExchangeResponse::EBodyEnd end)
{
    ExchangeOutcome outcome = gives(status, std::move(body), end);
    outcome.isPrefix = true;
    return outcome;
}

ExchangeOutcome givesParts(std::vector<Bytes> parts, ExchangeResponse::EBodyEnd end)
{
    ExchangeOutcome outcome;
    outcome.status = 200;
    outcome.bodies = std::move(parts);
    outcome.end = end;
    return outcome;
}

ExchangeOutcome fails(ExchangeException::EPhase phase, ExchangeException::ECause cause)
{
    ExchangeOutcome outcome;
    outcome.failure = ExchangeOutcome::Failure{phase, cause};
    return outcome;
}

ExchangeOutcome failsBehind(std::vector<Bytes> parts, ExchangeException::ECause cause, ExchangeResponse::EBodyEnd end)
{
    ExchangeOutcome outcome = givesParts(std::move(parts), end);
    outcome.failure = ExchangeOutcome::Failure{ExchangeException::E_BODY, cause};
    return outcome;
}

PageOutcome returnsParts(std::vector<Bytes> parts)
{
    PageOutcome outcome;
    outcome.status = 200;
    outcome.bodies = std::move(parts);
    return outcome;
}

PageOutcome returnsCutParts(std::vector<Bytes> parts)
{
    PageOutcome outcome = returnsParts(std::move(parts));
    outcome.isComplete = false;
    return outcome;
}

PageOutcome returns(unsigned status, Bytes body)
{
    PageOutcome outcome = returnsParts({std::move(body)});
    outcome.status = status;
    return outcome;
}

PageOutcome returnsCut(unsigned status, Bytes body)
{
    PageOutcome outcome = returns(status, std::move(body));
    outcome.isComplete = false;
    return outcome;
}

PageOutcome throws(const char* type, int code, const char* words)
{
    PageOutcome outcome;
    outcome.type = type;
    outcome.code = code;
    outcome.words = words;
    return outcome;
}

PageOutcome refuses(unsigned status)
{
    return throws("HTTPException", static_cast<int>(status), "Error response from http server: HTTP/1.");
}

PageOutcome refusesHead(const char* words)
{
    return throws("HTTPException", -1, words);
}

PageOutcome doesNotReturn()
{
    return {};
}

Row::Row(std::string rowName, std::string rowWhat, Script rowScript, ExchangeOutcome rowExchange, PageOutcome rowPage)
    : name(std::move(rowName)), what(std::move(rowWhat)), exchange(std::move(rowExchange)), page(std::move(rowPage))
{
    server.first = std::move(rowScript);
}

Row& Row::times(double limit)
{
    client.limit = limit;
    return *this;
}

Row& Row::connecting(double limit)
{
    client.connectLimit = limit;
    return *this;
}

Row& Row::deadline(double limit)
{
    client.deadline = limit;
    return *this;
}

Row& Row::tls(Identity (*makeIdentity)(), int version)
{
    server.identity = makeIdentity;
    server.tlsVersion = version;
    return *this;
}

Row& Row::rawTls(Identity (*makeIdentity)())
{
    server.identity = makeIdentity;
    server.scriptsTheHandshake = true;
    return *this;
}

Row& Row::trusting(ETrust trusted)
{
    client.trust = trusted;
    return *this;
}

Row& Row::memory(std::size_t bytes)
{
    memoryBound = bytes;
    return *this;
}

Row& Row::seconds(double bound)
{
    secondsBound = bound;
    return *this;
}

Row& Row::uploading(std::size_t bytes)
{
    client.method = "POST";
    client.upload = bytes;
    return *this;
}

Row& Row::expecting(double limit)
{
    client.expect = limit;
    return *this;
}

Row& Row::method(const char* text)
{
    client.method = text;
    return *this;
}

Row& Row::header(const char* fieldName, const char* value)
{
    client.headers.emplace_back(fieldName, value);
    return *this;
}

Row& Row::decompressing()
{
    client.decompress = true;
    return *this;
}

Row& Row::following(unsigned redirects)
{
    client.redirects = redirects;
    return *this;
}

Row& Row::thenOn(Script second)
{
    server.others = std::move(second);
    return *this;
}

Row& Row::otherServer(Script script, Identity (*makeIdentity)())
{
    other.emplace();
    other->first = std::move(script);
    other->identity = makeIdentity;
    return *this;
}

Row& Row::secret(const char* text)
{
    secretText = text;
    return *this;
}

Row& Row::headLimit(std::size_t bytes)
{
    client.headLimit = bytes;
    return *this;
}

Row& Row::bodyLimit(std::uint64_t bytes)
{
    client.bodyLimit = bytes;
    return *this;
}

Row& Row::reading(EReading how)
{
    client.reading = how;
    return *this;
}

Row& Row::partLimits(const ZOLNS2::MIME::MultipartReader::Limits& limits)
{
    client.parts = limits;
    return reading(E_PART_BY_PART);
}

Row& Row::host(const char* hostName)
{
    client.host = hostName;
    return *this;
}

Row& Row::connections(std::size_t count)
{
    connectionCount = count;
    return *this;
}

Row& Row::adjust(void (*adjustContext)(SSL_CTX*))
{
    server.adjust = adjustContext;
    return *this;
}

std::string describe(const ExchangeOutcome& outcome)
{
    std::string text;
    if (outcome.status != 0)
    {
        text = std::to_string(outcome.status) + ", " +
               (outcome.isPrefix ? "what has arrived" : describe(outcome.bodies)) + ", " + nameOf(outcome.end);
    }
    if (outcome.failure)
    {
        text += (text.empty() ? "" : "; ") + std::string(nameOf(outcome.failure->phase)) + ": " +
                nameOf(outcome.failure->cause);
    }
    return text;
}

std::string describe(const PageOutcome& outcome)
{
    if (outcome.status != 0)
    {
        return std::to_string(outcome.status) + ", " + describe(outcome.bodies) +
               (outcome.isComplete ? ", complete" : ", not complete") +
               (outcome.requestIsComplete ? "" : ", request not sent whole");
    }
    if (outcome.type.empty())
    {
        return "does not return";
    }
    return outcome.type + (outcome.code > 0 ? " " + std::to_string(outcome.code) : "");
}

const std::vector<Row>& table()
{
    static const std::vector<Row> rows = []
    {
        std::vector<Row> all;
        for (auto* make : {statusLineRows, headRows, bodyRows, chunkedRows, multipartRows, compressedRows, redirectRows,
                           uploadRows, tlsRows, certificateRows})
        {
            for (Row& row : make())
            {
                all.push_back(std::move(row));
            }
        }
        return all;
    }();
    return rows;
}

const Row* rowNamed(const std::string& name)
{
    const auto found = std::find_if(table().begin(), table().end(), [&](const Row& row) { return row.name == name; });
    return found == table().end() ? nullptr : &*found;
}

} // namespace hostile
