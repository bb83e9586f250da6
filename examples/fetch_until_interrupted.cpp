// Fetches a URL to standard output and gives up at Ctrl-C (SIGINT): fetch_until_interrupted URL
#include "zol/http.hpp"

#include <csignal>
#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 2)
    {
        std::cerr << "usage: fetch_until_interrupted URL\n";
        return 2;
    }
    // Made before the handler can run. cancel() may be called in a signal handler, and by any thread.
    static const blocxx::Cancellation interruption;
    std::signal(SIGINT, [](int) { interruption.cancel(); });

    HTTP::ExchangeOptions options;
    options.cancellation = interruption;
    const HTTP::Request request = HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request, options);
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const ZOLNS2::HTTP::ExchangeException& failure)
{
    std::cerr << "fetch_until_interrupted: " << failure.getMessage() << '\n';
    return failure.cause() == ZOLNS2::HTTP::ExchangeException::E_CANCELLED ? 130 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "fetch_until_interrupted: " << error.what() << '\n';
    return 1;
}
