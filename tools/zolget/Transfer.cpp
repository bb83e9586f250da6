#include "Transfer.hpp"

#include "AnswerBody.hpp"
#include "AnswerHead.hpp"
#include "Connecting.hpp"
#include "Exchange.hpp"
#include "Output.hpp"
#include "Progress.hpp"
#include "RequestHead.hpp"

#include "blocxx/CerrAppender.hpp"
#include "blocxx/Socket.hpp"

#include <unistd.h>

#include <iostream>

namespace zolget
{

namespace
{

constexpr const char* LOG_PATTERN = "%p %c: %m";

/// Sends the library's log records to standard error: once -v all but the finest, twice all of them.
void startLog(int verbosity)
{
    if (verbosity > 0)
    {
        const auto level = verbosity > 1 ? blocxx::E_ALL_LEVEL : blocxx::E_DEBUG2_LEVEL;
        blocxx::LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef(new blocxx::CerrAppender(
            blocxx::LogAppender::ALL_COMPONENTS, blocxx::LogAppender::getCategoriesForLevel(level), LOG_PATTERN)));
    }
}

Progress::Style progressStyle(const Options& options, const Output& out)
{
    const bool isTerminal = ::isatty(STDERR_FILENO) == 1;
    if (!options.alwaysShowProgress && (!isTerminal || out.isTerminal()))
    {
        return Progress::Style::NONE;
    }
    return isTerminal ? Progress::Style::TERMINAL : Progress::Style::LINES;
}

} // namespace

void transfer(const Options& options)
{
    startLog(options.verbosity);
    // All that can go wrong here is tried before the server is bothered.
    const BodyRef body = makeBody(options);
    const auto context = makeTlsContext(options);
    Output out(options.output);

    blocxx::Socket::setDefaultTimeouts(blocxx::Timeout::relative(options.readTimeout));
    Exchange exchange(options, connect(options, context));
    exchange.send(makeRequest(options, body, context), body);
    ZOLNS2::HTTP::Response response = readAnswer(exchange);
    if (options.showHead)
    {
        Output standardOutput("");
        showHead(response, standardOutput);
    }
    {
        Progress progress(std::cerr, progressStyle(options, out));
        copyBody(exchange, response, out, progress);
    }
    out.complete();
}

} // namespace zolget
