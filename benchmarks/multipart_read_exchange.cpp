// usage: multipart_read_exchange FILE BOUNDARY [ROUNDS]
// Reads the parts of the multipart body in FILE one after the other and keeps none of them, ROUNDS times (1); prints the
// number and bytes of all.
#include "ReadRounds.hpp"

#include "zol/http.hpp"

#include <limits>
#include <vector>

using namespace ZOLNS2;

namespace
{

void parse(char** arguments, Sum& sum)
{
    const MIME::ContentRef body(new MIME::FileContent(arguments[0], "multipart/mixed"));
    MIME::MultipartReader::Limits limits;
    limits.parts = std::numeric_limits<std::size_t>::max();
    MIME::MultipartReader reader(body, arguments[1], limits);
    std::vector<char> block(65536);
    while (const auto part = reader.next())
    {
        ++sum.parts;
        const MIME::ContentStreamStateRef state = part->getContent()->createInitialStreamState();
        for (size_t count = 0;
             (count = part->getContent()->getData(block.data(), block.size(), state)) != MIME::END_OF_DATA;)
        {
            sum.bytes += count;
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    return readRounds(argc, argv, 2, "FILE BOUNDARY", parse);
}
