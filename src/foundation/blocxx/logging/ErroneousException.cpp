#include "blocxx/Exception.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"

namespace blocxx
{

namespace
{

/// The component is no global of its own: this may run when those have been destroyed.
Logger exceptionLogger()
{
    return Logger(String("blocxx.Exception"));
}

} // namespace

void logErroneousException(const char* description)
{
    const Logger logger = exceptionLogger();
    BLOCXX_LOG_ERROR(logger, Format("Unable to handle exception: %1", description));
}

void logErroneousException(const char* description, const std::exception& exception)
{
    const Logger logger = exceptionLogger();
    BLOCXX_LOG_ERROR(logger, Format("Unable to handle std::exception: %1: %2", description, exception.what()));
}

void logErroneousException(const char* description, const Exception& exception)
{
    const Logger logger = exceptionLogger();
    BLOCXX_LOG_ERROR(logger, Format("Unable to handle exception: %1: %2", description, exception));
}

void ExceptionDetail::logCurrentException(const char* description) noexcept
{
    try
    {
        try
        {
            throw;
        }
        catch (const Exception& exception)
        {
            logErroneousException(description, exception);
        }
        catch (const std::exception& exception)
        {
            logErroneousException(description, exception);
        }
        catch (...)
        {
            logErroneousException(description);
        }
    }
    catch (...) // NOLINT(bugprone-empty-catch): the log was the last place to report to.
    {
    }
}

} // namespace blocxx
