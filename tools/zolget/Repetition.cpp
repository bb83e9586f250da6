#include "Repetition.hpp"

#include <algorithm>
#include <initializer_list>

namespace zolget
{

namespace
{

constexpr unsigned MOST_DOUBLINGS = 6;
constexpr std::chrono::seconds LONGEST_OWN_PAUSE{60};
constexpr std::chrono::seconds LONGEST_WISH{3600};

} // namespace

bool isRepeatable(const Options& options)
{
    static constexpr std::initializer_list<const char*> IDEMPOTENT = {"GET",    "HEAD",    "PUT",
                                                                      "DELETE", "OPTIONS", "TRACE"};
    return !options.readsStandardInput() &&
           std::find(IDEMPOTENT.begin(), IDEMPOTENT.end(), options.method) != IDEMPOTENT.end();
}

std::optional<std::chrono::seconds> pauseBefore(unsigned repetition, std::optional<std::chrono::seconds> retryAfter)
{
    const std::chrono::seconds growing(1U << std::min(repetition, MOST_DOUBLINGS));
    const std::chrono::seconds wish = retryAfter.value_or(std::chrono::seconds(0));
    if (wish > LONGEST_WISH)
    {
        return std::nullopt;
    }
    return std::max(wish, std::min(growing, LONGEST_OWN_PAUSE));
}

} // namespace zolget
