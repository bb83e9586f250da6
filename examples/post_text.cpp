// Posts a text in UTF-8 and shows what comes back: post_text URL TEXT
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: post_text URL TEXT\n";
        return 2;
    }
    const MIME::ContentRef text(new MIME::TextPlainContent(argv[2]));
    const HTTP::Request request = HTTP::RequestBuilder("POST", HTTP::Url(argv[1])).content(text).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request);
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "post_text: " << error.what() << '\n';
    return 1;
}
