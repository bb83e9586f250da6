// usage: fetch_exchange PORT TARGET COUNT [kept]
// COUNT exchanges, a connection each or all on one that is kept; the body is pulled with getData of 64 KiB.
#include "PeakMemory.hpp"

#include "zol/http.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

using namespace ZOLNS2;

namespace
{

constexpr size_t BLOCK = 65536;

size_t pull(const HTTP::ExchangeResponse& response, std::vector<char>& buffer)
{
    const MIME::ContentRef content = response.getContent();
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    size_t total = 0;
    for (size_t count = 0; (count = content->getData(buffer.data(), BLOCK, state)) != MIME::END_OF_DATA;)
    {
        total += count;
    }
    return total;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4 && argc != 5)
    {
        std::fprintf(stderr, "usage: %s PORT TARGET COUNT [kept]\n", argv[0]);
        return 2;
    }
    const bool kept = argc == 5 && std::strcmp(argv[4], "kept") == 0;
    try
    {
        const blocxx::String url = blocxx::String("http://127.0.0.1:") + argv[1] + argv[2];
        const HTTP::Request request = HTTP::RequestBuilder("GET", HTTP::Url(url)).keepAlive(kept).build();
        std::optional<HTTP::ExchangeConnection> connection;
        std::vector<char> buffer(BLOCK);
        size_t total = 0;
        for (long fetch = std::atol(argv[3]); fetch > 0; --fetch)
        {
            const HTTP::ExchangeResponse response =
                connection ? HTTP::exchange(*connection, request) : HTTP::exchange(request);
            total += pull(response, buffer);
            if (response.bodyEnd() != HTTP::ExchangeResponse::E_COMPLETE)
            {
                std::fprintf(stderr, "fetch_exchange: %s\n", response.bodyEndText().c_str());
                return 1;
            }
            if (kept && !connection)
            {
                connection = response.getConnection();
            }
        }
        std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
    }
    catch (const blocxx::Exception& e)
    {
        std::fprintf(stderr, "fetch_exchange: %s\n", e.getMessage());
        return 1;
    }
}
