// Writes what a URL names, or each part of it if it is multipart, to standard output: fetch_page URL
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    const HTTP::Url url(argc == 2 ? argv[1] : "");
    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", url).build());
    if (response.isMultipart())
        for (MIME::MultipartReader parts(response.getContent()); const auto part = parts.next();)
            part->writeTo(std::cout);
    else
        response.writeTo(std::cout);
    if (!response.isSuccess())
        std::cerr << response.getStatusLine().toString() << '\n';
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const blocxx::Exception& error)
{
    std::cerr << error.getMessage() << '\n';
    return 1;
}
