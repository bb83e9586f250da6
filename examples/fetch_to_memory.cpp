// Fetches a page of at most 16 MiB into memory and shows its type and size: fetch_to_memory URL
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 2)
    {
        std::cerr << "usage: fetch_to_memory URL\n";
        return 2;
    }
    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build());
    const blocxx::Array<char> page = response.readAll(std::size_t{16} * 1024 * 1024);
    std::cout << response.getStatus() << ": " << page.size() << " bytes of " << response.getContentType() << '\n';
    return response.isSuccess() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "fetch_to_memory: " << error.what() << '\n';
    return 1;
}
