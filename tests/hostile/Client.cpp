#include "Client.hpp"

#include "support/Allocations.hpp"
#include "support/ScriptedContent.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Socket.hpp"
#include "zol/http.hpp"

#include <array>
#include <chrono>
#include <new>

// Counted as well, and freed as the support's operator delete expects: a sanitizer's own would not be.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try
    {
        return ::operator new(size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

namespace hostile
{

namespace HTTP = ZOLNS2::HTTP;
namespace MIME = ZOLNS2::MIME;

namespace
{

std::string textOf(const blocxx::String& text)
{
    return {text.c_str(), text.length()};
}

blocxx::Timeout relative(double seconds)
{
    return blocxx::Timeout::relative(static_cast<float>(seconds));
}

/// Measures the library's share of a fetch, and the time of all.
class Meter
{
public:
    explicit Meter(Fetched& fetched) : m_fetched(fetched), m_start(std::chrono::steady_clock::now()) {}
    ~Meter() { m_fetched.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count(); }
    Meter(const Meter&) = delete;
    Meter& operator=(const Meter&) = delete;

    /// Counts what `call` allocates, also if it throws.
    template <typename Call>
    auto operator()(Call call)
    {
        struct Count
        {
            ~Count() { to += zol_test::allocationsOfThisThread().bytes - before; }
            std::size_t& to;
            std::size_t before = zol_test::allocationsOfThisThread().bytes;
        } const count{m_fetched.allocated};
        return call();
    }

private:
    Fetched& m_fetched;
    const std::chrono::steady_clock::time_point m_start;
};

void readAll(const MIME::ContentRef& content, Meter& meter, std::string& body)
{
    std::array<char, 32768> block{};
    const MIME::ContentStreamStateRef state = meter([&] { return content->createInitialStreamState(); });
    for (;;)
    {
        const std::size_t count = meter([&] { return content->getData(block.data(), block.size(), state); });
        if (count == MIME::END_OF_DATA)
        {
            return;
        }
        body.append(block.data(), count);
    }
}

blocxx::SSLClientCtxRef contextOf(const Row& row, const Place& place)
{
    blocxx::SSLOpts options;
    if (row.client.trust == E_NOTHING_IS_VERIFIED)
    {
        options.verifyMode = blocxx::SSLOpts::MODE_DISABLED;
    }
    else if (row.client.trust != E_SYSTEM)
    {
        options.trustStore = blocxx::String(place.trustFile);
    }
    if (row.client.trust == E_LISTS_ARE_DEMANDED)
    {
        options.crls = options.trustStore;
    }
    return blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx(options));
}

bool usesTls(const Row& row)
{
    return row.server.identity != nullptr || (row.other && row.other->identity != nullptr);
}

HTTP::Request requestOf(const Row& row, const Place& place)
{
    const bool isSecure = row.server.identity != nullptr;
    const std::string url = (isSecure ? "https://" : "http://") + row.client.host + ":" + std::to_string(place.port);
    HTTP::RequestBuilder builder(blocxx::String(row.client.method), HTTP::Url(blocxx::String(url + "/hostile")));
    for (const auto& [name, value] : row.client.headers)
    {
        builder.header(blocxx::String(name), blocxx::String(value));
    }
    if (row.client.upload > 0)
    {
        builder.content(zol_test::scripted({std::string(row.client.upload, 'u')}));
    }
    if (isSecure)
    {
        builder.sslContext(contextOf(row, place));
    }
    return builder.build();
}

HTTP::ExchangeOptions optionsOf(const Row& row, const Place& place)
{
    const Row::Client& client = row.client;
    HTTP::ExchangeOptions options;
    options.connectTimeout = relative(client.connectLimit);
    options.headTimeout = relative(client.limit);
    options.progressTimeout = relative(client.limit);
    options.deadline = client.deadline ? relative(*client.deadline) : blocxx::Timeout::infinite;
    options.headLimit = client.headLimit;
    options.bodyLimit = client.bodyLimit.value_or(HTTP::ExchangeOptions::NO_LIMIT);
    options.mostRedirects = client.redirects;
    options.decompress = client.decompress;
    options.expectContinue = client.expect.has_value();
    options.continueTimeout = relative(client.expect.value_or(1));
    if (usesTls(row))
    {
        options.redirectSslContext = contextOf(row, place);
    }
    return options;
}

void readParts(const HTTP::ExchangeResponse& response, const Row& row, Meter& meter, FetchedByExchange& fetched)
{
    MIME::MultipartReader reader(response.getContent(), row.client.parts);
    while (const std::optional<MIME::MultipartPart> part = meter([&] { return reader.next(); }))
    {
        fetched.bodies.emplace_back();
        readAll(part->getContent(), meter, fetched.bodies.back());
    }
}

void readBody(const HTTP::ExchangeResponse& response, const Row& row, Meter& meter, FetchedByExchange& fetched)
{
    switch (row.client.reading)
    {
    case E_AS_IT_COMES:
        fetched.bodies.emplace_back();
        readAll(response.getContent(), meter, fetched.bodies.back());
        return;
    case E_READ_ALL:
    {
        const blocxx::Array<char> body = meter([&] { return response.readAll(); });
        fetched.bodies.emplace_back(body.begin(), body.end());
        return;
    }
    case E_PART_BY_PART:
        readParts(response, row, meter, fetched);
        return;
    }
}

} // namespace

FetchedByExchange fetchByExchange(const Row& row, const Place& place)
{
    FetchedByExchange fetched;
    const HTTP::Request request = requestOf(row, place);
    const HTTP::ExchangeOptions options = optionsOf(row, place);
    Meter meter(fetched);
    std::optional<HTTP::ExchangeResponse> response;
    try
    {
        response = meter([&] { return HTTP::exchange(request, options); });
        fetched.status = response->getStatus();
        fetched.note = textOf(response->redirectNote());
        readBody(*response, row, meter, fetched);
    }
    catch (const HTTP::ExchangeException& failure)
    {
        fetched.failure = ExchangeOutcome::Failure{failure.phase(), failure.cause()};
        fetched.message = failure.getMessage();
    }
    if (response)
    {
        fetched.end = response->bodyEnd();
        fetched.reusable = response->reusable();
        if (fetched.message.empty())
        {
            fetched.message = textOf(response->bodyEndText());
        }
    }
    return fetched;
}

FetchedByPage fetchByPage(const Row& row, const Place& place)
{
    FetchedByPage fetched;
    blocxx::Socket::setDefaultTimeouts(relative(row.client.limit));
    const HTTP::Request request = requestOf(row, place);
    Meter meter(fetched);
    try
    {
        HTTP::Response response = meter([&] { return HTTP::getPage(request, relative(row.client.connectLimit)); });
        fetched.status = response.statusLine.statusCode;
        while (const MIME::ContentRef content = response.getNextPart())
        {
            fetched.bodies.emplace_back();
            readAll(content, meter, fetched.bodies.back());
        }
        fetched.isComplete = response.bodyIsComplete();
        fetched.requestIsComplete = response.requestIsComplete();
    }
    catch (const blocxx::Exception& exception)
    {
        fetched.type = exception.type();
        fetched.code = exception.getErrorCode();
        fetched.message = exception.getMessage();
    }
    return fetched;
}

} // namespace hostile
