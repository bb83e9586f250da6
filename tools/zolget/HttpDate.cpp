#include "HttpDate.hpp"

#include <initializer_list>

namespace zolget
{

// HTTP-date    = IMF-fixdate / obs-date
// IMF-fixdate  = day-name "," SP date1 SP time-of-day SP GMT
// obs-date     = rfc850-date / asctime-date                     (RFC 9110, section 5.6.7)
std::optional<std::time_t> parseHttpDate(const std::string& text)
{
    for (const char* const form : {"%a, %d %b %Y %H:%M:%S GMT", "%A, %d-%b-%y %H:%M:%S GMT", "%a %b %e %H:%M:%S %Y"})
    {
        std::tm fields = {};
        const char* const end = ::strptime(text.c_str(), form, &fields);
        if (end != nullptr && *end == '\0')
        {
            return ::timegm(&fields);
        }
    }
    return std::nullopt;
}

} // namespace zolget
