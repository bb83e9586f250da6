// Fetches one page from a server and writes its body to standard output: fetch_page HOST[:PORT] PATH

#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: fetch_page HOST[:PORT] PATH\n";
        return 2;
    }
    try
    {
        HTTP::Headers headers;
        headers.addHeader("Host", argv[1]);
        headers.addHeader("Connection", "close");
        const HTTP::RequestLine line("GET", argv[2], argv[1], HTTP::HTTP_1_1);
        const HTTP::Request request(line, headers, blocxx::IntrusiveReference<blocxx::SSLClientCtx>());

        HTTP::Response response = HTTP::getPage(request, blocxx::Timeout::relative(10));
        while (const MIME::ContentRef part = response.getNextPart())
        {
            HTTP::MIMEContentIStream body(part);
            std::cout << body.rdbuf();
        }
        return 0;
    }
    catch (const blocxx::Exception& error)
    {
        std::cerr << "fetch_page: " << error.getMessage() << '\n';
        return 1;
    }
}
