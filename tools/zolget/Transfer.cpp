#include "Transfer.hpp"

#include "Deadline.hpp"
#include "Failure.hpp"
#include "Fetch.hpp"
#include "Log.hpp"
#include "Report.hpp"
#include "RequestBody.hpp"
#include "Session.hpp"

namespace zolget
{

namespace
{

/// Whether the other URLs would fail likewise.
bool concernsAll(const Failure& failure)
{
    const bool nobodyReads = failure.status() == ExitStatus::LOCAL_FILE && *failure.what() == '\0';
    return nobodyReads || failure.status() == ExitStatus::OUT_OF_TIME;
}

} // namespace

ExitStatus transfer(const Options& options)
{
    startLog(options.verbosity);
    const Deadline deadline(options.maxTime);
    const ZOLNS2::MIME::ContentRef body = makeRequestBody(options, deadline);
    Session session(options, deadline);
    ExitStatus first = ExitStatus::SUCCESS;
    for (const ZOLNS2::HTTP::Url& url : options.urls)
    {
        const bool isLast = &url == &options.urls.back();
        try
        {
            Fetch(session, url, body, isLast).run();
        }
        catch (const Failure& failure)
        {
            first = first == ExitStatus::SUCCESS ? failure.status() : first;
            if (!options.isQuiet)
            {
                report(failure.what());
            }
            if (concernsAll(failure))
            {
                break;
            }
        }
    }
    return first;
}

} // namespace zolget
