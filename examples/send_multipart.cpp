// Posts a page and the image in it as one multipart/related body; the page calls it "cid:image":
// send_multipart URL PAGE.html IMAGE.png
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 4)
    {
        std::cerr << "usage: send_multipart URL PAGE.html IMAGE.png\n";
        return 2;
    }
    const blocxx::IntrusiveReference<MIME::MultipartContent> body(new MIME::MultipartContent("related"));
    body->setParameter("type", "text/html"); // RFC 2387 demands it
    body->addPart(MIME::ContentRef(new MIME::FileContent(argv[2], "text/html")));
    body->addPart(MIME::ContentRef(new MIME::FileContent(argv[3], "image/png")), {{"Content-ID", "<image>"}});

    const HTTP::Request request = HTTP::RequestBuilder("POST", HTTP::Url(argv[1])).content(body).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request);
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "send_multipart: " << error.what() << '\n';
    return 1;
}
