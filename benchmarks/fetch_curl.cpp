// usage: fetch_curl PORT TARGET COUNT
// The same work as fetch_zol, done with libcurl: COUNT fetches, a connection each, the body handed to a callback.
#include "PeakMemory.hpp"

#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

size_t countBytes(char*, size_t size, size_t count, void* total)
{
    *static_cast<size_t*>(total) += size * count;
    return size * count;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: %s PORT TARGET COUNT\n", argv[0]);
        return 2;
    }
    curl_global_init(CURL_GLOBAL_DEFAULT);
    CURL* const curl = curl_easy_init();
    const std::string url = std::string("http://127.0.0.1:") + argv[1] + argv[2];
    size_t total = 0;
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, countBytes);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &total);
    for (long fetch = std::atol(argv[3]); fetch > 0; --fetch)
    {
        const CURLcode result = curl_easy_perform(curl);
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
