#include "Fetch.hpp"

#include "blocxx/Exception.hpp"
#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

namespace zol_integration
{

using namespace ZOLNS2;

namespace
{

} // namespace

Ask Ask::with(const std::string& name, const std::string& value) const
{
    Ask copy = *this;
    copy.headers.emplace_back(name, value);
    return copy;
}

Ask askAndClose(const std::string& target)
{
    Ask ask;
    ask.target = target;
    return ask.with("Connection", "close");
}

HTTP::Request requestFor(const Ask& ask, const std::string& server)
{
    HTTP::Headers headers;
    for (const auto& header : ask.headers)
    {
        headers.addHeader(header.first, header.second);
    }
    return HTTP::Request(HTTP::RequestLine(ask.method, ask.target, server, ask.version), headers, ask.content, ask.tls);
}

HTTP::Response fetch(const std::string& server, const Ask& ask)
{
    return HTTP::getPage(requestFor(ask, server), blocxx::Timeout::relative(10));
}

HTTP::Response fetch(std::uint16_t port, const Ask& ask)
{
    return fetch("127.0.0.1:" + std::to_string(port), ask);
}

Refusal refusalOf(const std::function<void()>& action)
{
    try
    {
        action();
        ADD_FAILURE() << "nothing was thrown";
    }
    catch (const blocxx::Exception& error)
    {
        return {error.type(), error.getMessage(), error.getErrorCode()};
    }
    return {};
}

Body readBody(const MIME::ContentRef& content)
{
    Body body;
    const std::size_t announced = content->hasContentLength() ? content->getContentLength() : MIME::END_OF_DATA;
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::array<char, 8192> block{};
    while (body.bytes.size() < announced)
    {
        const std::size_t wanted = std::min(block.size(), announced - body.bytes.size());
        const std::size_t count = content->getData(block.data(), wanted, state);
        if (count == MIME::END_OF_DATA)
        {
            body.ended = true;
            break;
        }
        body.bytes.append(block.data(), count);
    }
    const auto* unbuffered = dynamic_cast<MIME::UnbufferedContent*>(content.getPtr());
    body.complete = body.bytes.size() == announced ||
                    (announced == MIME::END_OF_DATA &&
                     (unbuffered == nullptr || unbuffered->getTransferDecoder()->bodyIsComplete()));
    return body;
}

std::uint64_t pull(const MIME::ContentRef& content, const std::function<void(std::string_view)>& take)
{
    const std::uint64_t announced = content->hasContentLength() ? content->getContentLength() : MIME::END_OF_DATA;
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::vector<char> block(65536);
    std::uint64_t total = 0;
    while (total < announced)
    {
        const std::size_t count =
            content->getData(block.data(), std::min<std::uint64_t>(block.size(), announced - total), state);
        if (count == MIME::END_OF_DATA)
        {
            break;
        }
        take(std::string_view(block.data(), count));
        total += count;
    }
    return total;
}

std::string bodyOf(HTTP::Response response)
{
    const MIME::ContentRef content = response.getNextPart();
    if (!content)
    {
        ADD_FAILURE() << "the response has no part";
        return {};
    }
    const Body body = readBody(content);
    EXPECT_TRUE(body.complete) << "cut after " << body.bytes.size() << " bytes";
    return body.bytes;
}

std::string headerOf(const HTTP::Response& response, const char* name)
{
    return response.headers.getHeaderValue(name).c_str();
}

std::string pattern(std::size_t size)
{
    std::mt19937 numbers(20060704);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(numbers() & 0xff); });
    return bytes;
}

DefaultTimeouts::DefaultTimeouts(float seconds)
{
    blocxx::Socket::setDefaultTimeouts(blocxx::Timeout::relative(seconds));
}

DefaultTimeouts::~DefaultTimeouts()
{
    blocxx::Socket::setDefaultTimeouts(blocxx::Timeout::relative(300));
}

} // namespace zol_integration
