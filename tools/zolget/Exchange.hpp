#pragma once

#include "Body.hpp"
#include "Options.hpp"

#include "zol/http.hpp"

namespace zolget
{

/// One request on its connection.
class Exchange
{
public:
    Exchange(const Options& options, const ZOLNS2::HTTP::HTTPConnection& connection);

    /// Sends the request. A connection that breaks meanwhile is no failure yet: a server may refuse a body before it
    /// has come whole, and what it said is still there to be read. Throws Failure (LOCAL_FILE) if `body`, which may be
    /// null, turned out shorter than announced.
    void send(const ZOLNS2::HTTP::Request& request, const BodyRef& body);

    const Options& options() const { return m_options; }
    ZOLNS2::HTTP::HTTPConnection& connection() { return m_connection; }

    /// Ends the program because `what` ("the body") of the answer did not come whole. Throws Failure (CUT).
    [[noreturn]] void failForCut(const std::string& what);

private:
    std::string describeEnd();

    const Options& m_options;
    ZOLNS2::HTTP::HTTPConnection m_connection;
    bool m_wasSent = false;
};

} // namespace zolget
