#include "RetryAfter.hpp"

#include "HttpDate.hpp"
#include "StringView.hpp"
#include "Text.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <ctime>

namespace zolget
{

// Retry-After = HTTP-date / delay-seconds
std::optional<std::chrono::seconds> retryAfterOf(const ZOLNS2::HTTP::Headers& headers)
{
    const std::string value(trimmed(toStdString(headers.getHeaderValue("Retry-After"))));
    std::uint32_t seconds = 0;
    const char* const end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, seconds);
    if (stop == end && !value.empty())
    {
        // A number that is too large is a very long time.
        return std::chrono::seconds(error == std::errc() ? seconds : std::uint32_t{INT32_MAX});
    }
    if (const auto moment = parseHttpDate(value))
    {
        return std::chrono::seconds(std::max<std::time_t>(*moment - std::time(nullptr), 0));
    }
    return std::nullopt;
}

} // namespace zolget
