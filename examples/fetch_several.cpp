// Fetches several URLs of one server over one connection, as long as the server keeps it: fetch_several URL...
#include "zol/http.hpp"

#include <iostream>
#include <optional>

namespace
{

using namespace ZOLNS2;

HTTP::ExchangeResponse fetch(const HTTP::Url& url, const std::optional<HTTP::ExchangeConnection>& kept)
{
    const HTTP::Request request = HTTP::RequestBuilder("GET", url).keepAlive(true).build();
    if (kept && kept->reusable())
    {
        try
        {
            return HTTP::exchange(*kept, request);
        }
        catch (const HTTP::ExchangeException& failure)
        {
            if (!failure.isSafeToRepeat()) // true if the server had closed the connection meanwhile
                throw;
        }
    }
    return HTTP::exchange(request);
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc < 2)
    {
        std::cerr << "usage: fetch_several URL...\n";
        return 2;
    }
    std::optional<HTTP::ExchangeConnection> connection;
    bool allSucceeded = true;
    for (int i = 1; i < argc; ++i)
    {
        const HTTP::ExchangeResponse response = fetch(HTTP::Url(argv[i]), connection);
        response.writeTo(std::cout); // to the end: only then the connection can be used again
        allSucceeded = response.isSuccess() && allSucceeded;
        connection = response.getConnection();
    }
    return allSucceeded && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "fetch_several: " << error.what() << '\n';
    return 1;
}
