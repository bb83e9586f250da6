#include "FuzzTarget.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/http/RequestBuilder.hpp"
#include "zol/mime/TypedContent.hpp"

#include <algorithm>
#include <sstream>

using namespace ZOLNS2;

namespace
{

/// Removes and returns what stands in front of the next 0xFF, which no accepted text holds.
blocxx::String take(std::string& rest)
{
    const std::size_t end = std::min(rest.find('\xff'), rest.size());
    blocxx::String front(rest.data(), end);
    rest.erase(0, end + 1);
    return front;
}

} // namespace

// Method, URL, and headers: what is accepted is written as exactly one head of exactly those lines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string rest = zol_fuzz::textOf(data, size);
    try
    {
        const blocxx::String method = take(rest);
        HTTP::RequestBuilder builder(method, HTTP::Url("http://localhost" + take(rest)));
        while (!rest.empty())
        {
            const blocxx::String name = take(rest);
            builder.header(name, take(rest));
        }
        const HTTP::Request request = builder.build();
        std::ostringstream written;
        written << request.getRequestLine() << request.getHeaders();
        const std::string head = written.str();
        std::size_t lines = 1;
        for (const HTTP::Header& header : request.getHeaders())
        {
            zol_fuzz::check(!header.name.empty(), "a header has a name");
            ++lines;
        }
        const auto count = [&](char c) { return static_cast<std::size_t>(std::count(head.begin(), head.end(), c)); };
        zol_fuzz::check(count('\r') == lines && count('\n') == lines, "a line for each header and the request's own");
        zol_fuzz::check(head.find('\0') == std::string::npos, "there is no NUL");
        zol_fuzz::check(std::count(head.begin(),
                                   static_cast<std::string::const_iterator>(
                                       head.begin() + static_cast<std::ptrdiff_t>(head.find('\r'))),
                                   ' ') == 2,
                        "the request line has three words");
    }
    catch (const HTTP::ExchangeException& refusal)
    {
        zol_fuzz::check(refusal.phase() == HTTP::ExchangeException::E_URL, "a refusal comes before anything is sent");
    }
    return 0;
}
