#pragma once

#include "support/ExchangeFailures.hpp"
#include "support/ScriptedServer.hpp"
#include "support/TextOf.hpp"

#include "zol/http/Exchange.hpp"
#include "zol/http/ExchangeException.hpp"

#include <algorithm>
#include <string>

/// What the tests of exchange() share.
namespace exchange_test
{

using zol_test::expectFailure;
using zol_test::failureOf;
using zol_test::textOf;
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

/// The bytes of a body, however it ends.
inline std::string bodyOf(const ExchangeResponse& response)
{
    return textOf(response.getContent());
}

} // namespace exchange_test
