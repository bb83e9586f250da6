// usage: multipart_read_poco FILE BOUNDARY [ROUNDS]
// The same work as multipart_read_zol, done with Poco's MultipartReader: every part's body in a string.
#include <Poco/Net/MessageHeader.h>
#include <Poco/Net/MultipartReader.h>
#include <Poco/StreamCopier.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace
{

struct Sum
{
    size_t parts = 0;
    size_t bytes = 0;
};

void parse(const char* path, const char* boundary, Sum& sum)
{
    std::ifstream file(path, std::ios::binary);
    Poco::Net::MultipartReader reader(file, boundary);
    std::vector<std::string> parts;
    while (reader.hasNextPart())
    {
        Poco::Net::MessageHeader header;
        reader.nextPart(header);
        Poco::StreamCopier::copyToString(reader.stream(), parts.emplace_back());
        sum.bytes += parts.back().size();
    }
    sum.parts += parts.size();
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
    std::fprintf(stderr, "multipart_read_poco: %s\n", e.what());
    return 1;
}
