// Fetches several URLs at once, each in a thread of its own, and shows their sizes: fetch_in_threads URL...
#include "zol/http.hpp"

#include <future>
#include <iostream>
#include <string>
#include <vector>

namespace
{

std::size_t sizeOf(const std::string& url)
{
    using namespace ZOLNS2;
    // A request, a response and what belongs to it are used by one thread at a time; the TLS context that build()
    // makes is shared by all.
    return HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(url)).build()).readAll().size();
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc < 2)
    {
        std::cerr << "usage: fetch_in_threads URL...\n";
        return 2;
    }
    std::vector<std::future<std::size_t>> sizes;
    for (int i = 1; i < argc; ++i)
        sizes.push_back(std::async(std::launch::async, sizeOf, argv[i]));
    int failures = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i)
    {
        std::cout << argv[i + 1] << ": ";
        try
        {
            std::cout << sizes[i].get() << " bytes\n";
        }
        catch (const blocxx::Exception& error)
        {
            ++failures;
            std::cout << error.getMessage() << '\n';
        }
    }
    return failures == 0 ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "fetch_in_threads: " << error.what() << '\n';
    return 1;
}
