// Shows the head and the body of a response, that of an error as well: show_response URL
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 2)
    {
        std::cerr << "usage: show_response URL\n";
        return 2;
    }
    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build());
    std::cout << response.getStatusLine().toString() << '\n';
    for (const HTTP::Header& header : response.getHeaders())
        std::cout << header << '\n';
    std::cout << '\n';
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "show_response: " << error.what() << '\n';
    return 1;
}
