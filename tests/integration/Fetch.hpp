#pragma once

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/Timeout.hpp"
#include "zol/http.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zol_integration
{

using HeaderLines = std::vector<std::pair<std::string, std::string>>;

/// What a test asks for; `send` turns it into a request.
struct Ask
{
    std::string target = "/";
    std::string method = "GET";
    HeaderLines headers = {{"Host", "localhost"}};
    ZOLNS2::HTTP::Version version = ZOLNS2::HTTP::HTTP_1_1;
    ZOLNS2::MIME::ContentRef content = {};
    blocxx::SSLClientCtxRef tls = {};

    /// The same with one more header.
    Ask with(const std::string& name, const std::string& value) const;
};

/// Asks the server to close after its response, for bodies without an announced length.
Ask askAndClose(const std::string& target);

ZOLNS2::HTTP::Request requestFor(const Ask& ask, const std::string& server);

/// Fetches from "host:port", with ten seconds to connect.
ZOLNS2::HTTP::Response fetch(const std::string& server, const Ask& ask);
ZOLNS2::HTTP::Response fetch(std::uint16_t port, const Ask& ask);

/// Fetches, and returns the error code and message of the exception that ends it; fails the test when there is no
/// exception, or one of another type.
struct Refusal
{
    std::string type;
    std::string message;
    int code = 0;
};
Refusal refusalOf(const std::function<void()>& action);

/// What came out of a content.
struct Body
{
    std::string bytes;
    bool ended = false;    ///< the content reported its end
    bool complete = false; ///< it ended in order, or all announced bytes came
};

/// Pulls the announced number of bytes and not one more; everything up to the end when none is announced.
Body readBody(const ZOLNS2::MIME::ContentRef& content);

/// Pulls a content through `take` in blocks, counting against the announced length; returns the number of bytes.
std::uint64_t pull(const ZOLNS2::MIME::ContentRef& content, const std::function<void(std::string_view)>& take);

/// The body of the one part of a response; fails the test when it is not complete.
std::string bodyOf(ZOLNS2::HTTP::Response response);

std::string headerOf(const ZOLNS2::HTTP::Response& response, const char* name);

/// `size` bytes that do not repeat soon and are the same every time.
std::string pattern(std::size_t size);

/// Sets the time-outs that sockets start with, and puts the library's own back at the end.
class DefaultTimeouts
{
public:
    explicit DefaultTimeouts(float seconds);
    ~DefaultTimeouts();
    DefaultTimeouts(const DefaultTimeouts&) = delete;
    DefaultTimeouts& operator=(const DefaultTimeouts&) = delete;
};

} // namespace zol_integration
