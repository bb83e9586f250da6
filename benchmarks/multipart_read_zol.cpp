// usage: multipart_read_zol FILE BOUNDARY
// Parses the multipart body in FILE, as it comes from a connection, into contents; prints their number and bytes.
#include "FileDevice.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "zol/http.hpp"

#include <cstdio>
#include <istream>

using namespace ZOLNS2;

int main(int argc, char** argv)
try
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: %s FILE BOUNDARY\n", argv[0]);
        return 2;
    }
    FileDevice device(argv[1]);
    blocxx::IOIFCStreamBuffer buffer(&device, blocxx::BaseStreamBuffer::E_IN);
    std::istream stream(&buffer);
    HTTP::Response response;
    response.contentType.setContentTypeString(blocxx::String("Content-Type: multipart/mixed; boundary=") + argv[2]);
    response.parseResponseData(stream);
    size_t parts = 0;
    size_t bytes = 0;
    while (const MIME::ContentRef content = response.getNextPart())
    {
        ++parts;
        bytes += content->getContentLength();
    }
    std::printf("%zu parts, %zu bytes\n", parts, bytes);
}
catch (const std::exception& e)
{
    std::fprintf(stderr, "multipart_read_zol: %s\n", e.what());
    return 1;
}
