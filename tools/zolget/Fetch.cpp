#include "Fetch.hpp"

#include "ContinuedFile.hpp"
#include "DescriptorOutput.hpp"
#include "ExchangeFailure.hpp"
#include "Failure.hpp"
#include "HeadText.hpp"
#include "OneOutput.hpp"
#include "PartsFolder.hpp"
#include "Progress.hpp"
#include "Repetition.hpp"
#include "Report.hpp"
#include "RequestHead.hpp"
#include "ResponseBody.hpp"
#include "StatusFailure.hpp"
#include "UrlFileName.hpp"

#include <unistd.h>

#include <iostream>
#include <thread>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

constexpr std::uint64_t MOST_DISCARDED_BYTES = std::uint64_t{64} * 1024;

Progress::Style progressStyle(const Options& options, const Destination& destination)
{
    const bool isTerminal = ::isatty(STDERR_FILENO) == 1;
    const bool isWanted = options.alwaysShowProgress || (isTerminal && !destination.isTerminal());
    if (!isWanted || options.isQuiet)
    {
        return Progress::Style::NONE;
    }
    return isTerminal ? Progress::Style::TERMINAL : Progress::Style::LINES;
}

} // namespace

Fetch::Fetch(Session& session, const http::Url& url, const ZOLNS2::MIME::ContentRef& body, bool isLast)
    : m_session(session), m_options(session.options()), m_url(url), m_body(body), m_isLast(isLast)
{
}

void Fetch::run()
{
    const unsigned repetitions = isRepeatable(m_options) ? m_options.retries : 0;
    for (unsigned done = 0;; ++done)
    {
        try
        {
            runOnce(done < repetitions);
            return;
        }
        catch (const TransientFailure& failure)
        {
            const auto pause = pauseBefore(done, failure.retryAfter());
            if (done == repetitions || !pause.has_value() || !m_session.deadline().allows(*pause))
            {
                throw;
            }
            if (!m_options.isQuiet)
            {
                report(std::string(failure.what()) + "; repeated in " + std::to_string(pause->count()) + " s");
            }
            std::this_thread::sleep_for(*pause);
        }
    }
}

void Fetch::runOnce(bool mayRepeat)
{
    // What can fail on this machine is tried before anything is sent.
    const std::unique_ptr<Destination> destination = makeDestination();
    try
    {
        exchange(*destination, mayRepeat);
    }
    catch (const TransientFailure& failure)
    {
        if (destination->hasDelivered())
        {
            throw Failure(failure.status(), failure.what());
        }
        throw;
    }
}

void Fetch::exchange(Destination& destination, bool mayRepeat)
{
    RequestParts parts;
    parts.body = m_body;
    parts.tlsContext = m_session.tlsContext();
    parts.keepsConnection = !m_isLast;
    parts.destination = &destination;
    try
    {
        receive(m_session.exchange(m_url, makeRequest(m_options, m_url, parts)), destination, mayRepeat);
    }
    catch (const http::ExchangeException& error)
    {
        ExchangeFailure(m_options, m_url).raise(error);
    }
}

void Fetch::receive(const http::ExchangeResponse& response, Destination& destination, bool mayRepeat)
{
    const bool isHereAlready = destination.accept(response);
    if (!response.isSuccess() && !isHereAlready)
    {
        const bool isRepeated = mayRepeat && isTransient(response.getStatus());
        takeErrorBody(response, !isRepeated);
        failForStatus(m_options, m_url, response);
    }
    if (m_options.showHead)
    {
        writeToStandardOutput(headText(response));
    }
    if (isHereAlready)
    {
        return;
    }
    if (hasBody(response))
    {
        copy(response, destination);
    }
    destination.complete();
    m_session.keepConnectionOf(response);
}

/// Shows what the user wants to see of an error. A short body that is not shown is dropped, so that the connection serves
/// the next request.
void Fetch::takeErrorBody(const http::ExchangeResponse& response, bool isToBeShown)
{
    if (isToBeShown && m_options.showHead)
    {
        writeToStandardOutput(headText(response));
    }
    if (isToBeShown && (m_options.showHead || m_options.showErrorBody))
    {
        OneOutput standardOutput("", false);
        Progress progress(std::cerr, Progress::Style::NONE);
        copyBody(response, standardOutput, progress);
    }
    else if (!m_isLast)
    {
        discardBody(response, MOST_DISCARDED_BYTES);
    }
    m_session.keepConnectionOf(response);
}

void Fetch::copy(const http::ExchangeResponse& response, Destination& destination) const
{
    bool isComplete = false;
    {
        Progress progress(std::cerr, progressStyle(m_options, destination));
        isComplete = copyBody(response, destination, progress);
        if (isComplete)
        {
            progress.finish();
        }
    }
    if (!isComplete)
    {
        ExchangeFailure(m_options, m_url).raiseForBody(response, destination.keptText());
    }
}

/// RFC 9110, sections 9.3.2, 15.3.5 and 15.3.6: whatever their headers say, these responses have no body.
bool Fetch::hasBody(const http::ExchangeResponse& response) const
{
    return m_options.method != "HEAD" && response.getStatus() != 204 && response.getStatus() != 205;
}

std::unique_ptr<Destination> Fetch::makeDestination() const
{
    if (!m_options.partsFolder.empty())
    {
        return std::make_unique<PartsFolder>(m_options.partsFolder);
    }
    const std::string path = m_options.isNamedByUrl ? fileNameOf(m_url) : m_options.output;
    if (m_options.continuesDownload)
    {
        return std::make_unique<ContinuedFile>(path);
    }
    return std::make_unique<OneOutput>(path);
}

} // namespace zolget
