#include "ResponseHead.hpp"

#include "ExitStatus.hpp"
#include "Text.hpp"

#include <string_view>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

constexpr int NO_STATUS = -1; // error code of an HTTPException that is not about a status

/// The status line in the message of an exception about a status outside 200 to 299.
std::string statusLineOf(const http::HTTPException& error)
{
    static constexpr std::string_view PREFIX = "Error response from http server: ";
    std::string_view message = error.getMessage();
    if (message.substr(0, PREFIX.size()) == PREFIX)
    {
        message.remove_prefix(PREFIX.size());
    }
    return printable(message);
}

const char* adviceFor(int status)
{
    switch (status / 100)
    {
    case 3:
        return "redirects are not followed; ask for the new URL";
    case 4:
        return status == 401 || status == 407 ? "the server asks for credentials; send them with -H"
                                              : "check the URL and the request";
    case 5:
        return "the fault is on the side of the server; try again later";
    default:
        return "a response to such a request cannot have this status";
    }
}

[[noreturn]] void failForStatus(const Options& options, const http::HTTPException& error)
{
    const std::string statusLine = statusLineOf(error);
    if (options.showHead)
    {
        Output("").write(statusLine + "\n\n");
    }
    throw Failure(ExitStatus::HTTP_STATUS, options.url.authority() + " responded to " + options.method + " " +
                                               options.url.target + " with " + statusLine + "; " +
                                               adviceFor(error.getErrorCode()));
}

[[noreturn]] void failForHead(Exchange& exchange, const blocxx::Exception& error)
{
    const std::istream& stream = exchange.connection().istream();
    if (stream.eof() || stream.bad())
    {
        exchange.failForIncomplete("the response");
    }
    throw Failure(ExitStatus::MALFORMED, "the response from " + exchange.options().url.authority() +
                                             " is not valid HTTP: " + printable(error.getMessage()) +
                                             "; check that an HTTP server listens there");
}

http::Response readByMethod(Exchange& exchange)
{
    if (exchange.options().method != "HEAD")
    {
        return http::getResponse(exchange.connection());
    }
    // A response to HEAD has no body, but getResponse would wait for the parts that its headers announce.
    http::Response response;
    response.checkStatus(exchange.connection());
    return response;
}

bool isMultipart(const http::Response& response)
{
    return response.contentType.getType().equalsIgnoreCase("multipart");
}

} // namespace

http::Response readResponse(Exchange& exchange)
{
    try
    {
        http::Response response = readByMethod(exchange);
        // Some incomplete heads are returned as if they were complete; the state of the stream shows it. A multipart
        // response may have been read to its end, which sets the state too.
        if (!exchange.connection().istream() && !isMultipart(response))
        {
            exchange.failForIncomplete("the head of the response");
        }
        return response;
    }
    catch (const http::HTTPException& error)
    {
        if (error.getErrorCode() != NO_STATUS)
        {
            failForStatus(exchange.options(), error);
        }
        failForHead(exchange, error);
    }
    catch (const blocxx::Exception& error)
    {
        failForHead(exchange, error);
    }
}

void showHead(const http::Response& response, Output& out)
{
    std::string head = printable(response.statusLine.toString().c_str());
    const auto append = [&head](const blocxx::String& name, const blocxx::String& value)
    { head += "\n" + printable(name.c_str()) + ": " + printable(value.c_str()); };
    for (const http::Header& header : response.headers)
    {
        append(header.name, header.value);
    }
    append("content-type", toString(response.contentType));
    out.write(head + "\n\n");
}

} // namespace zolget
