#include "blocxx/internal/StreamFailure.hpp"

#include "blocxx/Exception.hpp"

#include <cerrno>
#include <exception>
#include <system_error>

namespace blocxx::Internal
{

namespace
{

int errorOf(const std::error_code& code)
{
    const bool isErrno = code.category() == std::generic_category() || code.category() == std::system_category();
    return isErrno ? code.value() : 0;
}

FailureReason describeCaughtException()
{
    try
    {
        throw;
    }
    catch (const Exception& e)
    {
        return {e.getErrorCode(), e.getMessage()};
    }
    catch (const std::system_error& e)
    {
        return {errorOf(e.code()), e.what()};
    }
    catch (const std::exception& e)
    {
        return {0, e.what()};
    }
    catch (...)
    {
        return {};
    }
}

} // namespace

void setStateQuietly(std::ios& stream, std::ios_base::iostate bits) noexcept
{
    try
    {
        stream.setstate(bits);
    }
    catch (const std::exception&) // NOLINT(bugprone-empty-catch)
    {
        // The bits are set before the stream throws.
    }
}

FailureReason reasonOfCaughtException() noexcept
{
    FailureReason reason;
    try
    {
        reason = describeCaughtException();
    }
    catch (const std::exception&) // NOLINT(bugprone-empty-catch)
    {
        // There is no memory for a text.
    }
    reason.error = reason.error != 0 ? reason.error : EIO;
    return reason;
}

} // namespace blocxx::Internal
