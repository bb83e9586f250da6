// Fetches a URL to standard output, past at most five redirects, and says where they led to: follow_redirects URL
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 2)
    {
        std::cerr << "usage: follow_redirects URL\n";
        return 2;
    }
    HTTP::ExchangeOptions options;
    options.mostRedirects = 5;
    const HTTP::Request request = HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request, options);
    std::cerr << response.getUrl() << '\n';
    if (!response.redirectNote().empty())
        std::cerr << "The redirect there is not followed. " << response.redirectNote() << '\n';
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "follow_redirects: " << error.what() << '\n';
    return 1;
}
