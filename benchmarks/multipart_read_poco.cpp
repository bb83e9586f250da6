// usage: multipart_read_poco FILE BOUNDARY [ROUNDS]
// The same work as multipart_read_zol, done with Poco's MultipartReader: every part's body in a string.
#include "ReadRounds.hpp"

#include <Poco/Net/MessageHeader.h>
#include <Poco/Net/MultipartReader.h>
#include <Poco/StreamCopier.h>

#include <fstream>
#include <string>
#include <vector>

namespace
{

void parse(char** arguments, Sum& sum)
{
    std::ifstream file(arguments[0], std::ios::binary);
    Poco::Net::MultipartReader reader(file, arguments[1]);
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
{
    return readRounds(argc, argv, 2, "FILE BOUNDARY", parse);
}
