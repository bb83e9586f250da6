#pragma once

#include "Options.hpp"
#include "RequestBody.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// One request on its connection.
class Exchange
{
public:
    Exchange(const Options& options, const ZOLNS2::HTTP::HTTPConnection& connection);

    /// Sends the request. A connection that breaks while it does is not a failure yet: a server may refuse a body before
    /// it has read all of it, and its response can still be read. `body` may be null. Throws Failure (LOCAL_FILE) if it
    /// turned out shorter than announced.
    void send(const ZOLNS2::HTTP::Request& request, const RequestBodyRef& body);

    const Options& options() const { return m_options; }
    ZOLNS2::HTTP::HTTPConnection& connection() { return m_connection; }

    /// Throws the Failure (INCOMPLETE) for `what` of the response, such as "the body".
    [[noreturn]] void failForIncomplete(const std::string& what);

private:
    std::string describeEnd();

    const Options& m_options;
    ZOLNS2::HTTP::HTTPConnection m_connection;
    bool m_wasSent = false;
};

} // namespace zolget
