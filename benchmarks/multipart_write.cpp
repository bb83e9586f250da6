// usage: multipart_write PART_SIZE PARTS
// Writes a multipart/mixed body of PARTS parts of PART_SIZE bytes through getData of 64 KiB; prints the bytes. All
// parts are one content, so that only the writing grows with their number.
#include "zol/http.hpp"

#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace ZOLNS2;

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: %s PART_SIZE PARTS\n", argv[0]);
        return 2;
    }
    const std::vector<char> bytes(std::strtoul(argv[1], nullptr, 10), 'x');
    const MIME::ContentRef part = new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size());
    auto* const multipart = new MIME::MultipartMixedContent("a boundary of the benchmark");
    const MIME::ContentRef content = multipart;
    for (unsigned long parts = std::strtoul(argv[2], nullptr, 10); parts > 0; --parts)
    {
        multipart->addPart(part);
    }
    std::vector<char> buffer(65536);
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    size_t total = 0;
    for (size_t count = 0; (count = content->getData(buffer.data(), buffer.size(), state)) != static_cast<size_t>(-1);)
    {
        total += count;
    }
    std::printf("%zu\n", total);
}
