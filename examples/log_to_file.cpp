// Fetches a URL to standard output and writes what the library does meanwhile into a file: log_to_file URL FILE
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: log_to_file URL FILE\n";
        return 2;
    }
    using blocxx::LogAppender;
    const char* const pattern = "%d %-6p %c: %m"; // time, category, component, message
    LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef(
        new blocxx::FileAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, argv[2], pattern)));

    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build());
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "log_to_file: " << error.what() << '\n';
    return 1;
}
