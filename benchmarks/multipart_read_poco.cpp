// usage: multipart_read_poco FILE BOUNDARY
// The same work as multipart_read_zol, done with Poco's MultipartReader: every part's body in a string.
#include <Poco/Net/MessageHeader.h>
#include <Poco/Net/MultipartReader.h>
#include <Poco/StreamCopier.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

int main(int argc, char** argv)
try
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: %s FILE BOUNDARY\n", argv[0]);
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary);
    Poco::Net::MultipartReader reader(file, argv[2]);
    std::vector<std::string> parts;
    size_t bytes = 0;
    while (reader.hasNextPart())
    {
        Poco::Net::MessageHeader header;
        reader.nextPart(header);
        Poco::StreamCopier::copyToString(reader.stream(), parts.emplace_back());
        bytes += parts.back().size();
    }
    std::printf("%zu parts, %zu bytes\n", parts.size(), bytes);
}
catch (const std::exception& e)
{
    std::fprintf(stderr, "multipart_read_poco: %s\n", e.what());
    return 1;
}
