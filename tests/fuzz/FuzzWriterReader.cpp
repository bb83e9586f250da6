#include "FuzzTarget.hpp"

#include "zol/http/Response.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/MultipartReader.hpp"
#include "zol/mime/OctetStreamContent.hpp"

#include <algorithm>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using namespace ZOLNS2;

namespace
{

const char* const BOUNDARY = "b b";

/// The pieces of the input between bytes 0xFF, and a last one.
std::vector<std::string> partsOf(const std::string& input)
{
    std::vector<std::string> parts(1);
    for (const char c : input)
    {
        if (c == '\xff')
        {
            parts.emplace_back();
        }
        else
        {
            parts.back() += c;
        }
    }
    return parts;
}

MIME::ContentRef octets(const std::string& bytes)
{
    return MIME::ContentRef(new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size()));
}

std::string bytesOf(const MIME::ContentRef& content)
{
    const blocxx::Array<char> bytes = getContentData(content, std::numeric_limits<std::size_t>::max());
    return std::string(bytes.begin(), bytes.end());
}

std::string written(const MIME::ContentRef& content, std::size_t blockSize)
{
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::string wire;
    std::vector<char> block(blockSize);
    std::size_t count = 0;
    while ((count = content->getData(block.data(), block.size(), state)) != MIME::END_OF_DATA)
    {
        wire.append(block.data(), count);
    }
    zol_fuzz::check(content->hasContentLength() && wire.size() == content->getContentLength(),
                    "the length that was announced is that of what is written");
    return wire;
}

std::vector<std::string> readByReader(const std::string& wire)
{
    std::istringstream input(wire);
    MIME::MultipartReader::Limits limits;
    limits.parts = wire.size() + 1;
    MIME::MultipartReader reader(input, BOUNDARY, limits);
    std::vector<std::string> parts;
    while (const auto part = reader.next())
    {
        parts.push_back(bytesOf(part->getContent()));
    }
    return parts;
}

std::vector<std::string> readByResponse(const std::string& wire)
{
    std::istringstream input("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=\"b b\"\r\n\r\n" + wire);
    HTTP::Response response;
    input >> response;
    std::vector<std::string> parts;
    while (const MIME::ContentRef part = response.getNextPart())
    {
        parts.push_back(bytesOf(part));
    }
    return parts;
}

} // namespace

// The first byte is the size of reads; the parts follow, with 0xFF between them. Both writers' bodies have the length that
// they announce, and both readers get back the parts.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    const std::size_t blockSize = std::max<std::size_t>(data[0], 1);
    const std::vector<std::string> parts = partsOf(zol_fuzz::textOf(data + 1, size - 1));
    const blocxx::IntrusiveReference<MIME::MultipartContent> checked(new MIME::MultipartContent("mixed", BOUNDARY));
    const blocxx::IntrusiveReference<MIME::MultipartMixedContent> mixed(new MIME::MultipartMixedContent(BOUNDARY));
    try
    {
        for (const std::string& part : parts)
        {
            checked->addPart(octets(part));
            mixed->addPart(octets(part));
        }
    }
    catch (const MIME::ContentException&)
    {
        const auto holdsBoundary = [](const std::string& part) { return part.find(BOUNDARY) != std::string::npos; };
        zol_fuzz::check(std::any_of(parts.begin(), parts.end(), holdsBoundary),
                        "only the boundary in a part is refused");
        return 0;
    }
    const std::string wire = written(checked, blockSize);
    zol_fuzz::check(readByReader(wire) == parts, "the reader gets the parts back");
    const std::string mixedWire = written(mixed, blockSize);
    zol_fuzz::check(readByReader(mixedWire) == parts, "the reader gets the parts of the other writer back");
    zol_fuzz::check(readByResponse(mixedWire) == parts, "a response gets the parts back");
    return 0;
}
