#include "Transfer.hpp"

#include "Connecting.hpp"
#include "Destination.hpp"
#include "Exchange.hpp"
#include "ExitStatus.hpp"
#include "Log.hpp"
#include "Output.hpp"
#include "Progress.hpp"
#include "RequestHead.hpp"
#include "ResponseBody.hpp"
#include "ResponseHead.hpp"

#include "blocxx/Socket.hpp"

#include <unistd.h>

#include <iostream>
#include <memory>

namespace zolget
{

namespace
{

Progress::Style progressStyle(const Options& options, const Destination& destination)
{
    const bool isTerminal = ::isatty(STDERR_FILENO) == 1;
    if (!options.alwaysShowProgress && (!isTerminal || destination.isTerminal()))
    {
        return Progress::Style::NONE;
    }
    return isTerminal ? Progress::Style::TERMINAL : Progress::Style::LINES;
}

} // namespace

void transfer(const Options& options)
{
    const DroppedPartsRef droppedParts = startLog(options.verbosity);
    // What can fail on this machine is tried before anything is sent.
    const RequestBodyRef body = makeRequestBody(options);
    const auto context = makeTlsContext(options);
    const std::unique_ptr<Destination> destination = makeDestination(options);
    blocxx::Socket::setDefaultTimeouts(blocxx::Timeout::relative(options.readTimeout));
    Exchange exchange(options, connect(options, context));
    exchange.send(makeRequest(options, body, context), body);
    ZOLNS2::HTTP::Response response = readResponse(exchange);
    if (options.showHead)
    {
        Output standardOutput("");
        showHead(response, standardOutput);
    }
    {
        Progress progress(std::cerr, progressStyle(options, *destination));
        copyBody(exchange, response, *destination, progress);
    }
    exchange.checkRequest();
    if (droppedParts->seen())
    {
        throw Failure(ExitStatus::MALFORMED, "a part of the response from " + options.url.authority() +
                                                 " has a type that is not supported and was left out; -v shows more");
    }
    destination->complete();
}

} // namespace zolget
