#pragma once

#include "support/ContentText.hpp"
#include "support/ScriptedServer.hpp"

#include "zol/http/Exchange.hpp"
#include "zol/http/ExchangeException.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <string>

/// What the tests of exchange() share.
namespace exchange_test
{

using ZOLNS2::HTTP::exchange;
using ZOLNS2::HTTP::ExchangeException;
using ZOLNS2::HTTP::ExchangeOptions;
using ZOLNS2::HTTP::ExchangeResponse;
using ZOLNS2::HTTP::Headers;
using ZOLNS2::HTTP::Request;
using ZOLNS2::HTTP::RequestLine;
using ZOLNS2::MIME::ContentRef;

/// A request of a method and fields for a server, "host:port".
inline Request requestOf(const std::string& method, const std::string& server, const Headers& headers = Headers(),
                         const ContentRef& content = ContentRef())
{
    return Request(RequestLine(method.c_str(), "/page", server.c_str(), ZOLNS2::HTTP::HTTP_1_1), headers, content,
                   blocxx::SSLClientCtxRef());
}

inline Request get(const zol_test::ScriptedServer& server)
{
    return requestOf("GET", server.address());
}

/// A POST of a content with its length.
inline Request post(const zol_test::ScriptedServer& server, const ContentRef& content, size_t announced)
{
    Headers headers;
    headers.addHeader("Content-Length", std::to_string(announced).c_str());
    return requestOf("POST", server.address(), headers, content);
}

/// Larger than what the system takes for a server that does not read.
class HugeContent : public ZOLNS2::MIME::Content
{
public:
    static constexpr size_t SIZE = 50000000;

    ZOLNS2::MIME::ContentTypeHeader getContentType() override { return {}; }
    bool hasContentLength() override { return true; }
    size_t getContentLength() override { return SIZE; }
    size_t getData(char* buffer, size_t room, const ZOLNS2::MIME::ContentStreamStateRef&) override
    {
        std::fill_n(buffer, room, 'x');
        return room;
    }
    ZOLNS2::MIME::ContentStreamStateRef createInitialStreamState() const override
    {
        return ZOLNS2::MIME::ContentStreamStateRef(new ZOLNS2::MIME::ContentStreamState);
    }
};

/// What exchange() returns for a GET that is answered with these bytes.
inline ExchangeResponse responseTo(const std::string& bytes, const ExchangeOptions& options = ExchangeOptions())
{
    zol_test::ScriptedServer server(zol_test::respondingWith(bytes));
    return exchange(get(server), options);
}

/// What `call` fails with; the test fails if it does not.
inline std::optional<ExchangeException> failureOf(const std::function<void()>& call)
{
    try
    {
        call();
    }
    catch (const ExchangeException& failure)
    {
        return failure;
    }
    ADD_FAILURE() << "no ExchangeException";
    return std::nullopt;
}

inline void expectFailure(const std::function<void()>& call, ExchangeException::EPhase phase,
                          ExchangeException::ECause cause, const std::string& words)
{
    const std::optional<ExchangeException> failure = failureOf(call);
    if (failure)
    {
        EXPECT_EQ(failure->phase(), phase) << failure->getMessage();
        EXPECT_EQ(failure->cause(), cause) << failure->getMessage();
        EXPECT_NE(std::string(failure->getMessage()).find(words), std::string::npos) << failure->getMessage();
    }
}

/// The bytes of a body, however it ends.
inline std::string bodyOf(const ExchangeResponse& response)
{
    const ContentRef content = response.getContent();
    const ZOLNS2::MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::string bytes;
    char block[4096];
    for (size_t count = 0; (count = content->getData(block, sizeof block, state)) != ZOLNS2::MIME::END_OF_DATA;)
    {
        bytes.append(block, count);
    }
    return bytes;
}

inline std::string textOf(const blocxx::String& text)
{
    return std::string(text.c_str(), text.length());
}

} // namespace exchange_test
