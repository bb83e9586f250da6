// usage: fetch_zol PORT TARGET COUNT [data|stream]
// COUNT fetches, a connection each; the body is pulled with getData of 64 KiB, or read through a MIMEContentIStream.
#include "PeakMemory.hpp"

#include "zol/http.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace ZOLNS2;

namespace
{

constexpr size_t BLOCK = 65536;

size_t pull(const MIME::ContentRef& content, std::vector<char>& buffer)
{
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    size_t total = 0;
    for (size_t count = 0; (count = content->getData(buffer.data(), BLOCK, state)) != static_cast<size_t>(-1);)
    {
        total += count;
    }
    return total;
}

size_t readStream(const MIME::ContentRef& content, std::vector<char>& buffer)
{
    HTTP::MIMEContentIStream stream(content);
    size_t total = 0;
    while (stream.read(buffer.data(), BLOCK) || stream.gcount() > 0)
    {
        total += static_cast<size_t>(stream.gcount());
    }
    return total;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4 && argc != 5)
    {
        std::fprintf(stderr, "usage: %s PORT TARGET COUNT [data|stream]\n", argv[0]);
        return 2;
    }
    const bool throughStream = argc == 5 && std::strcmp(argv[4], "stream") == 0;
    HTTP::Headers headers;
    headers.addHeader("Host", "127.0.0.1");
    headers.addHeader("Connection", "close");
    const HTTP::Request request(
        HTTP::RequestLine("GET", argv[2], blocxx::String("127.0.0.1:") + argv[1], HTTP::HTTP_1_1), headers,
        blocxx::SSLClientCtxRef());
    std::vector<char> buffer(BLOCK);
    size_t total = 0;
    try
    {
        for (long fetch = std::atol(argv[3]); fetch > 0; --fetch)
        {
            HTTP::Response response = HTTP::getPage(request, blocxx::Timeout::relative(10));
            while (const MIME::ContentRef content = response.getNextPart())
            {
                total += throughStream ? readStream(content, buffer) : pull(content, buffer);
            }
        }
    }
    catch (const blocxx::Exception& e)
    {
        std::fprintf(stderr, "fetch_zol: %s\n", e.getMessage());
        return 1;
    }
    std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
}
