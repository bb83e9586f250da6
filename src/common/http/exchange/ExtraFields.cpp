#include "exchange/ExtraFields.hpp"

#include "exchange/HeadFields.hpp"

#include <string>
#include <utility>

namespace ZOLNS2::HTTP
{

blocxx::String extraFields(const Request& request, const ExchangeOptions& options, bool hasContent)
{
    std::string fields;
    const Headers& headers = request.getHeaders();
    if (options.decompress && headers.getHeaderValue("Accept-Encoding").empty() &&
        headers.getHeaderValue("Range").empty())
    {
        fields += "Accept-Encoding: gzip, deflate\r\n";
    }
    if (options.expectContinue && hasContent && !holdsToken(headers, "Expect", "100-continue"))
    {
        fields += "Expect: 100-continue\r\n";
    }
    return blocxx::String(std::move(fields));
}

} // namespace ZOLNS2::HTTP
