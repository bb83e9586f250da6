// Posts a file under a media type and shows what comes back: post_file URL FILE TYPE
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 4)
    {
        std::cerr << "usage: post_file URL FILE TYPE\n";
        return 2;
    }
    const MIME::ContentRef file(new MIME::FileContent(argv[2], argv[3])); // throws if it cannot be opened
    HTTP::ExchangeOptions options;
    options.expectContinue = true; // a server that refuses the file says so before it is sent
    const HTTP::Request request = HTTP::RequestBuilder("POST", HTTP::Url(argv[1])).content(file).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request, options);
    if (!response.isSuccess())
        std::cerr << response.getStatusLine().toString() << '\n';
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "post_file: " << error.what() << '\n';
    return 1;
}
