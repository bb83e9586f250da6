// usage: consumer HOST:PORT
//
// Fetches /page and prints its media type and body; prints what it caught when that fails. It uses what has to work
// across the border of a shared object: exceptions caught by type, contents cast to their kind.

#include "zol/http.hpp"

#include <algorithm>
#include <iostream>
#include <string>

namespace
{

std::string bodyOf(const ZOLNS2::MIME::ContentRef& content)
{
    const std::size_t end = static_cast<std::size_t>(-1);
    const ZOLNS2::MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::string body;
    char block[1000];
    while (body.size() < content->getContentLength())
    {
        const std::size_t missing = content->getContentLength() - body.size();
        const std::size_t count = content->getData(block, std::min(missing, sizeof block), state);
        if (count == end)
        {
            break;
        }
        body.append(block, count);
    }
    return body;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::cerr << "usage: consumer HOST:PORT\n";
        return 2;
    }
    try
    {
        ZOLNS2::HTTP::Headers headers;
        headers.addHeader("Host", "consumer");
        const ZOLNS2::HTTP::RequestLine line("GET", "/page", argv[1], ZOLNS2::HTTP::HTTP_1_1);
        ZOLNS2::HTTP::Response response =
            ZOLNS2::HTTP::getPage(ZOLNS2::HTTP::Request(line, headers, nullptr), blocxx::Timeout::relative(10));
        const ZOLNS2::MIME::ContentRef content = response.getNextPart();
        if (dynamic_cast<ZOLNS2::MIME::UnbufferedContent*>(content.getPtr()) == nullptr)
        {
            std::cerr << "a body over a connection is not an unbuffered content\n";
            return 1;
        }
        std::cout << content->getContentType() << "\n" << bodyOf(content) << "\n";

        const ZOLNS2::MIME::ContentRef local(new ZOLNS2::MIME::TextPlainContent(blocxx::String("local text")));
        std::cout << bodyOf(local) << "\n";
    }
    catch (const ZOLNS2::HTTP::HTTPException& error)
    {
        std::cout << error.type() << " " << error.getErrorCode() << " " << error.getMessage() << "\n";
    }
    catch (const blocxx::Exception& error)
    {
        std::cout << "blocxx: " << error << "\n";
    }
    return 0;
}
