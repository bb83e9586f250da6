#include "blocxx/Exception.hpp"

namespace blocxx
{

namespace
{

void logError(const char*, const char*) {}

} // namespace

void logErroneousException(const char* description)
{
    logError(description, "");
}

void logErroneousException(const char* description, const std::exception& exception)
{
    logError(description, exception.what());
}

void logErroneousException(const char* description, const Exception& exception)
{
    logError(description, exception.what());
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
