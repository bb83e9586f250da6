#pragma once

#include "Options.hpp"
#include "RequestBody.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// One request on its connection, and why it or its response was incomplete.
class Exchange
{
public:
    Exchange(const Options& options, const ZOLNS2::HTTP::HTTPConnection& connection);

    /// Sends the request. A connection that breaks in the meantime is not a failure yet: a server may refuse a body
    /// before it has read all of it, and its response can still be read. `body` may be null. Throws Failure
    /// (LOCAL_FILE) if it turned out shorter than announced.
    void send(const ZOLNS2::HTTP::Request& request, const RequestBodyRef& body);

    const Options& options() const { return m_options; }
    ZOLNS2::HTTP::HTTPConnection& connection() { return m_connection; }

    /// Throws Failure (INCOMPLETE_REQUEST) if the request was not sent completely.
    void checkRequest() const;

    /// Throws the Failure for `what` of the response, such as "the body": TLS if a TLS alert of the server ended the
    /// connection, INCOMPLETE_REQUEST if the request was not sent completely, INCOMPLETE_RESPONSE otherwise.
    [[noreturn]] void failForIncomplete(const std::string& what);

private:
    std::string describeEnd();

    const Options& m_options;
    ZOLNS2::HTTP::HTTPConnection m_connection;
    std::string m_sendingFailure; ///< why the request was not sent completely; empty if it was
};

} // namespace zolget
