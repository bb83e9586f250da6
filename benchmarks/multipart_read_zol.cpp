// usage: multipart_read_zol FILE BOUNDARY [ROUNDS]
// Parses the multipart body in FILE, as it comes from a connection, into contents, and drops them again, ROUNDS times
// (1); prints the number and bytes of all.
#include "FileDevice.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "zol/http.hpp"

#include <cstdio>
#include <cstdlib>
#include <istream>

using namespace ZOLNS2;

namespace
{

struct Sum
{
    size_t parts = 0;
    size_t bytes = 0;
};

void parse(const char* path, const char* boundary, Sum& sum)
{
    FileDevice device(path);
    blocxx::IOIFCStreamBuffer buffer(&device, blocxx::BaseStreamBuffer::E_IN);
    std::istream stream(&buffer);
    HTTP::Response response;
    response.contentType.setContentTypeString(blocxx::String("Content-Type: multipart/mixed; boundary=") + boundary);
    response.parseResponseData(stream);
    while (const MIME::ContentRef content = response.getNextPart())
    {
        ++sum.parts;
        sum.bytes += content->getContentLength();
    }
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc < 3 || argc > 4)
    {
        std::fprintf(stderr, "usage: %s FILE BOUNDARY [ROUNDS]\n", argv[0]);
        return 2;
    }
    Sum sum;
    for (int round = argc == 4 ? std::atoi(argv[3]) : 1; round > 0; --round)
    {
        parse(argv[1], argv[2], sum);
    }
    std::printf("%zu parts, %zu bytes\n", sum.parts, sum.bytes);
}
catch (const std::exception& e)
{
    std::fprintf(stderr, "multipart_read_zol: %s\n", e.what());
    return 1;
}
