// Fetches a small multipart body into memory and shows what its parts are: receive_multipart URL
#include "zol/http.hpp"

#include <iostream>
#include <vector>

namespace
{

struct Part
{
    ZOLNS2::MIME::ContentTypeHeader type;
    blocxx::Array<char> bytes;
};

std::vector<Part> partsOf(const ZOLNS2::HTTP::ExchangeResponse& response)
{
    using namespace ZOLNS2;
    MIME::MultipartReader::Limits limits;
    limits.parts = 100;
    limits.bytes = 1048576; // all of it is kept
    std::vector<Part> parts;
    MIME::MultipartReader reader(response.getContent(), limits);
    while (const auto part = reader.next()) // throws if the part before was cut
        parts.push_back({part->getContentType(), MIME::getContentData(part->getContent(), limits.bytes)});
    return parts;
}

} // namespace

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 2)
    {
        std::cerr << "usage: receive_multipart URL\n";
        return 2;
    }
    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build());
    for (const Part& part : partsOf(response))
        std::cout << part.bytes.size() << " bytes of " << part.type << '\n';
    return response.isSuccess() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "receive_multipart: " << error.what() << '\n';
    return 1;
}
