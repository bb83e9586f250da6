// Fetches a URL to standard output and gives up when its time is over: fetch_with_deadline URL SECONDS
#include "zol/http.hpp"

#include <iostream>
#include <string>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: fetch_with_deadline URL SECONDS\n";
        return 2;
    }
    HTTP::ExchangeOptions options;
    options.deadline = blocxx::Timeout::relative(std::stof(argv[2])); // from the call to the end of the body
    const HTTP::Request request = HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request, options);
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const ZOLNS2::HTTP::ExchangeException& failure)
{
    std::cerr << "fetch_with_deadline: " << failure.getMessage() << '\n';
    return failure.cause() == ZOLNS2::HTTP::ExchangeException::E_DEADLINE ? 3 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "fetch_with_deadline: " << error.what() << '\n';
    return 1;
}
