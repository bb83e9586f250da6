// usage: multipart_read_zol FILE BOUNDARY [ROUNDS]
// Parses the multipart body in FILE, as it comes from a connection, into contents, and drops them again, ROUNDS times
// (1); prints the number and bytes of all.
#include "FileDevice.hpp"
#include "ReadRounds.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "zol/http.hpp"

#include <istream>

using namespace ZOLNS2;

namespace
{

void parse(char** arguments, Sum& sum)
{
    FileDevice device(arguments[0]);
    blocxx::IOIFCStreamBuffer buffer(&device, blocxx::BaseStreamBuffer::E_IN);
    std::istream stream(&buffer);
    HTTP::Response response;
    response.contentType.setContentTypeString(blocxx::String("Content-Type: multipart/mixed; boundary=") +
                                              arguments[1]);
    response.parseResponseData(stream);
    while (const MIME::ContentRef content = response.getNextPart())
    {
        ++sum.parts;
        sum.bytes += content->getContentLength();
    }
}

} // namespace

int main(int argc, char** argv)
{
    return readRounds(argc, argv, 2, "FILE BOUNDARY", parse);
}
