#include "StatusFailure.hpp"

#include "Failure.hpp"
#include "RetryAfter.hpp"
#include "StringView.hpp"

#include "zol/http/ExchangeException.hpp"

#include <algorithm>
#include <initializer_list>
#include <string>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

/// Where a redirect leads to: as an absolute URL if that is possible.
std::string targetOf(const http::ExchangeResponse& response)
{
    const blocxx::String location = response.getHeaders().getHeaderValue("Location");
    try
    {
        return toStdString(http::Url(response.getUrl()).resolve(location).toString());
    }
    catch (const http::ExchangeException&)
    {
        return toStdString(location);
    }
}

std::string adviceForRedirect(const Options& options, const http::ExchangeResponse& response)
{
    const bool hasTarget = !response.getHeaders().getHeaderValue("Location").empty();
    const std::string target = hasTarget ? "it leads to " + targetOf(response) : "it names no target";
    if (!options.followRedirects)
    {
        return target + "; redirects are not followed without -L";
    }
    const std::string note = toStdString(response.redirectNote());
    return target + (note.empty() ? "" : "; it was not followed: " + note);
}

std::string adviceFor(const Options& options, const http::ExchangeResponse& response)
{
    const unsigned short status = response.getStatus();
    switch (status / 100)
    {
    case 3:
        return adviceForRedirect(options, response);
    case 4:
        return status == 401   ? "the server asks for credentials; send them with -u or -H"
               : status == 407 ? "the server asks for credentials; send them with -H"
                               : "check the URL and the request";
    case 5:
        return "the fault is on the side of the server; try again later";
    default:
        return "a response to such a request cannot have this status";
    }
}

} // namespace

bool isTransient(unsigned short status)
{
    static constexpr std::initializer_list<int> TRANSIENT = {408, 429, 500, 502, 503, 504};
    return std::find(TRANSIENT.begin(), TRANSIENT.end(), status) != TRANSIENT.end();
}

void failForStatus(const Options& options, const http::Url& url, const http::ExchangeResponse& response)
{
    const std::string message = toStdString(url.authority()) + " responded to " + options.method + " " +
                                toStdString(url.target()) + " with " +
                                toStdString(response.getStatusLine().toString()) + "; " + adviceFor(options, response);
    if (isTransient(response.getStatus()))
    {
        throw TransientFailure(ExitStatus::HTTP_STATUS, message, retryAfterOf(response.getHeaders()));
    }
    throw Failure(ExitStatus::HTTP_STATUS, message);
}

} // namespace zolget
