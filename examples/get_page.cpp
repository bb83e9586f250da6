// Fetches a page of a server that is trusted, every byte of the request being the program's: get_page HOST[:PORT] PATH
#include "zol/http.hpp"

#include <chrono>
#include <iostream>
#include <stdexcept>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: get_page HOST[:PORT] PATH\n";
        return 2;
    }
    // Nothing is added and nothing is checked. The end of the connection is the end of the body.
    const HTTP::Headers headers{{"Host", argv[1]}, {"Connection", "close"}};
    const HTTP::RequestLine line("GET", argv[2], argv[1], HTTP::HTTP_1_1);
    const HTTP::Request request(line, headers, blocxx::SSLClientCtxRef());
    HTTP::Response response = HTTP::getPage(request, std::chrono::seconds(10)); // bounds the connect alone

    while (const MIME::ContentRef part = response.getNextPart())
    {
        const blocxx::Array<char> bytes = MIME::getContentData(part, std::size_t{16} * 1024 * 1024);
        std::cout.write(bytes.empty() ? "" : &bytes[0], static_cast<std::streamsize>(bytes.size()));
        if (part->hasContentLength() && part->getContentLength() != bytes.size())
            throw std::runtime_error("the body is not as long as was announced");
    }
    if (!response.bodyIsComplete())
        throw std::runtime_error("the body was cut");
    return std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error) // a status outside 200 to 299 is one
{
    std::cerr << "get_page: " << error.what() << '\n';
    return 1;
}
