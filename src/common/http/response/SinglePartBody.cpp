#include "response/SinglePartBody.hpp"

#include "response/CreateContent.hpp"
#include "response/HTTPResponseUnit.hpp"

#include <array>
#include <istream>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

namespace
{

constexpr size_t READ_SIZE = 2048;

} // namespace

void parseSinglePartContent(std::istream& istr, MIME::Contents& contents, const MIME::ContentTypeHeader& contentType)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    ZOL_LOG(log, DEBUG2, "Reading data (not multi-part)");
    std::array<char, READ_SIZE> block{};
    MIME::ReceivedBytes body;
    while (!istr.fail())
    {
        const std::streamsize count = istr.read(block.data(), block.size()).gcount();
        if (count <= 0)
        {
            ZOL_LOG(log, DEBUG, blocxx::Format("Didn't read a positive number of bytes: %1", count));
            break;
        }
        body.append(block.data(), static_cast<size_t>(count));
    }
    ZOL_LOG(log, DEBUG3, "Creating content...");
    const MIME::ContentRef content = createContent(body, contentType);
    if (!content)
    {
        ZOL_LOG(log, ERROR,
                blocxx::Format("Failed to create content for response .. (FIXME: Bad error message).: %1",
                               contentType.getType()));
        return;
    }
    contents.push_back(content);
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
