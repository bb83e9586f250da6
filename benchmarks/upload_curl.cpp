// usage: upload_curl PORT SIZE COUNT [FILE]
// The same work as upload_zol, done with libcurl and its largest buffer.
#include "PeakMemory.hpp"

#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

size_t countBytes(char*, size_t size, size_t count, void* total)
{
    *static_cast<size_t*>(total) += size * count;
    return size * count;
}

size_t readFile(char* to, size_t size, size_t count, void* file)
{
    return std::fread(to, size, count, static_cast<std::FILE*>(file));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4 && argc != 5)
    {
        std::fprintf(stderr, "usage: %s PORT SIZE COUNT [FILE]\n", argv[0]);
        return 2;
    }
    const long long size = std::atoll(argv[2]);
    const std::vector<char> bytes(argc == 5 ? 0 : static_cast<size_t>(size), 'x');
    std::FILE* const file = argc == 5 ? std::fopen(argv[4], "rb") : nullptr;
    curl_global_init(CURL_GLOBAL_DEFAULT);
    CURL* const curl = curl_easy_init();
    const std::string url = std::string("http://127.0.0.1:") + argv[1] + "/small";
    size_t received = 0;
    curl_slist* const headers = curl_slist_append(nullptr, "Expect:");
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(curl, CURLOPT_UPLOAD_BUFFERSIZE, 2L * 1024 * 1024);
    curl_easy_setopt(curl, CURLOPT_POST, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(size));
    if (file != nullptr)
    {
        curl_easy_setopt(curl, CURLOPT_READFUNCTION, readFile);
        curl_easy_setopt(curl, CURLOPT_READDATA, file);
    }
    else
    {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, bytes.data());
    }
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, countBytes);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &received);
    for (long upload = std::atol(argv[3]); upload > 0; --upload)
    {
        if (file != nullptr)
        {
            std::rewind(file);
        }
        const CURLcode result = curl_easy_perform(curl);
        if (result != CURLE_OK)
        {
            std::fprintf(stderr, "upload_curl: %s\n", curl_easy_strerror(result));
            return 1;
        }
    }
    std::printf("%zu bytes received, peak %ld KiB\n", received, peakMemory());
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    curl_global_cleanup();
    if (file != nullptr)
    {
        std::fclose(file);
    }
}
