#include "FuzzTarget.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/http/Url.hpp"

#include <algorithm>
#include <optional>

using namespace ZOLNS2;

namespace
{

bool isVisible(char c)
{
    return c > ' ' && c <= '~' && c != '#';
}

void checkUrl(const HTTP::Url& url)
{
    const std::string target = url.target().c_str();
    zol_fuzz::check(!target.empty() && target[0] == '/', "a target begins with a slash");
    zol_fuzz::check(std::all_of(target.begin(), target.end(), isVisible), "a target can be sent as it is");
    const std::string host = url.host().c_str();
    zol_fuzz::check(!host.empty() && std::all_of(host.begin(), host.end(), isVisible), "a host can be sent as it is");
    zol_fuzz::check(host.find('@') == std::string::npos, "there is no user information");
    const HTTP::Url again(url.toString());
    zol_fuzz::check(again.toString() == url.toString() && again.sameOrigin(url), "a URL is read back as it is written");
}

/// Null where `make` refuses.
template <class Make>
std::optional<HTTP::Url> made(const Make& make)
{
    try
    {
        return make();
    }
    catch (const HTTP::ExchangeException& refusal)
    {
        zol_fuzz::check(refusal.phase() == HTTP::ExchangeException::E_URL, "a refusal is of the phase URL");
        return std::nullopt;
    }
}

} // namespace

// A line with a URL and one with a reference: what is accepted can be sent, and is read back as it is written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = zol_fuzz::textOf(data, size);
    const std::size_t line = std::min(input.find('\n'), input.size());
    const blocxx::String text(input.c_str(), line);
    const std::size_t next = std::min(line + 1, input.size());
    const blocxx::String reference(input.c_str() + next, input.size() - next);
    if (const auto url = made([&] { return HTTP::Url(text); }))
    {
        checkUrl(*url);
        if (const auto resolved = made([&] { return url->resolve(reference); }))
        {
            checkUrl(*resolved);
        }
    }
    return 0;
}
