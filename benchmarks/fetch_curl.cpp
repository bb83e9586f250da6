// usage: fetch_curl PORT TARGET COUNT [kept] [lines=N] [trust=FILE] [large]
// The same work done with libcurl: COUNT fetches, a connection each or all on one that is kept, the body handed to a
// callback.
#include "FetchArguments.hpp"
#include "PeakMemory.hpp"

#include <curl/curl.h>

namespace
{

size_t countBytes(char*, size_t size, size_t count, void* total)
{
    *static_cast<size_t*>(total) += size * count;
    return size * count;
}

curl_slist* headerLines(const FetchArguments& arguments)
{
    std::string line;
    curl_slist* list = nullptr;
    for (const auto& [name, value] : *arguments.lines)
    {
        line.assign(name).append(": ").append(value);
        list = curl_slist_append(list, line.c_str());
    }
    return list;
}

CURLcode perform(CURL* curl, const FetchArguments& arguments)
{
    if (!arguments.lines)
    {
        return curl_easy_perform(curl);
    }
    curl_slist* const lines = headerLines(arguments);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, lines);
    const CURLcode result = curl_easy_perform(curl);
    curl_slist_free_all(lines);
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    const FetchArguments arguments(argc, argv, "[kept] [lines=N] [trust=FILE] [large]");
    const std::string scheme = arguments.trust.empty() ? "http" : "https";
    const std::string url = scheme + "://127.0.0.1:" + arguments.port + arguments.target;
    size_t total = 0;
    curl_global_init(CURL_GLOBAL_DEFAULT);
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, arguments.kept ? 0L : 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, countBytes);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &total);
    if (arguments.large)
    {
        curl_easy_setopt(curl, CURLOPT_BUFFERSIZE, static_cast<long>(CURL_MAX_READ_SIZE));
    }
    if (!arguments.trust.empty())
    {
        curl_easy_setopt(curl, CURLOPT_CAINFO, arguments.trust.c_str());
        // Every handshake is a full one, as those of the others are.
        curl_easy_setopt(curl, CURLOPT_SSL_SESSIONID_CACHE, 0L);
    }
    for (long count = arguments.count; count > 0; --count)
    {
        const CURLcode result = perform(curl, arguments);
        if (result != CURLE_OK)
        {
            std::fprintf(stderr, "fetch_curl: %s\n", curl_easy_strerror(result));
            return 1;
        }
    }
    std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
    curl_easy_cleanup(curl);
    curl_global_cleanup();
}
