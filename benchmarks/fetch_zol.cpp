// usage: fetch_zol PORT TARGET COUNT [stream] [lines=N] [trust=FILE]
// COUNT fetches with getPage, a connection each; the body is pulled with getData of 64 KiB, or read through a
// MIMEContentIStream.
#include "PeakMemory.hpp"
#include "ZolFetch.hpp"

using namespace ZOLNS2;

namespace
{

HTTP::Request requestFor(const FetchArguments& arguments, const blocxx::SSLClientCtxRef& context)
{
    HTTP::Headers headers;
    headers.addHeader("Host", "127.0.0.1");
    headers.addHeader("Connection", "close");
    if (arguments.lines)
    {
        for (const auto& [name, value] : *arguments.lines)
        {
            headers.addHeader(name.c_str(), value.c_str());
        }
    }
    const blocxx::String authority = blocxx::String("127.0.0.1:") + arguments.port.c_str();
    return HTTP::Request(HTTP::RequestLine("GET", arguments.target.c_str(), authority, HTTP::HTTP_1_1), headers,
                         context);
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
try
{
    const FetchArguments arguments(argc, argv, "[stream] [lines=N] [trust=FILE]");
    const blocxx::SSLClientCtxRef context = contextFor(arguments);
    const HTTP::Request request = requestFor(arguments, context);
    std::optional<HTTP::Request> own;
    std::vector<char> buffer(BLOCK);
    size_t total = 0;
    for (long count = arguments.count; count > 0; --count)
    {
        if (arguments.lines)
        {
            own.emplace(requestFor(arguments, context));
        }
        HTTP::Response response = HTTP::getPage(own ? *own : request, blocxx::Timeout::relative(10));
        while (const MIME::ContentRef content = response.getNextPart())
        {
            total += arguments.stream ? readStream(content, buffer) : pull(content, buffer);
        }
    }
    std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
}
catch (const blocxx::Exception& e)
{
    std::fprintf(stderr, "fetch_zol: %s\n", e.getMessage());
    return 1;
}
