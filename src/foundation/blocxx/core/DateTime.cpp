#include "blocxx/DateTime.hpp"

#include <chrono>

namespace blocxx
{

DateTime DateTime::getCurrent()
{
    using namespace std::chrono;
    const auto sinceEpoch = system_clock::now().time_since_epoch();
    const auto wholeSeconds = floor<seconds>(sinceEpoch);
    const auto below = duration_cast<microseconds>(sinceEpoch - wholeSeconds);
    return DateTime(static_cast<std::time_t>(wholeSeconds.count()), static_cast<std::uint32_t>(below.count()));
}

} // namespace blocxx
