#pragma once

#include "zol/http/ExchangeResponse.hpp"
#include "zol/http/Request.hpp"
#include "zol/http/Url.hpp"

#include <ostream>
#include <string_view>

namespace zolget
{

/// Shows exchanges to the user: heads, address and TLS, safe for a terminal. Credentials and cookies are hidden.
class Trace
{
public:
    Trace(std::ostream& out, bool isOn) : m_out(out), m_isOn(isOn) {}

    void showRequest(const ZOLNS2::HTTP::Url& url, const ZOLNS2::HTTP::Request& request);

    /// @param url that was asked for, before redirects
    void showResponse(const ZOLNS2::HTTP::Url& url, const ZOLNS2::HTTP::ExchangeResponse& response);

private:
    void showLine(const char* mark, std::string_view text);
    void showHeaders(const char* mark, const ZOLNS2::HTTP::Headers& headers);
    void showConnection(const ZOLNS2::HTTP::ExchangeConnection& connection);

    std::ostream& m_out;
    bool m_isOn;
};

} // namespace zolget
