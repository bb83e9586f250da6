#include "HTTPResponse/BodyReaders.hpp"
#include "HTTPResponse/SourceUnit.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/String.hpp"
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/text/TormudaTextOperations.hpp"

#include <cstring>
#include <istream>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

namespace
{

/// An input stream buffer over bytes that stay where they are. One of blocxx, so that its lines are read in place.
class MemoryViewBuffer : public blocxx::BaseStreamBuffer
{
public:
    explicit MemoryViewBuffer(std::vector<char>& bytes) : BaseStreamBuffer(E_IN)
    {
        setg(bytes.data(), bytes.data(), bytes.data() + bytes.size());
    }

    size_t remaining() const { return static_cast<size_t>(egptr() - gptr()); }

protected:
    int buffer_from_device(char*, int) override { return 0; }
};

void releaseStorage(std::vector<char>& data)
{
    std::vector<char>().swap(data);
}

/// The value of the first content-type entry, or octet stream where there is none.
blocxx::String sectionTypeOf(const OpenWBEM::HTTPHeaderMap& headerMap)
{
    for (const auto& [name, value] : headerMap)
    {
        if (name.equalsIgnoreCase("content-type"))
        {
            return "Content-type: " + value;
        }
    }
    return "Content-type: application/octet-stream";
}

/// Takes the header lines off the front of one part of a multipart body and gives `contentType` the part's own type.
void takePartHeaders(std::vector<char>& data, MIME::ContentTypeHeader& contentType, blocxx::Logger& logger)
{
    OpenWBEM::HTTPHeaderMap headerMap;
    MemoryViewBuffer view(data);
    std::istream stream(&view);
    if (!OpenWBEM::HTTPUtils::buildMap(headerMap, stream))
    {
        // Deliberate: no error. The part keeps all its bytes, and a type named before the unreadable line counts.
        ZOL_LOG(logger, DEBUG, "Failed parsing headers (no content-type supplied)...");
    }
    else
    {
        ZOL_LOG(logger, DEBUG3, "Headers parsed correctly...");
        dump_to_log(headerMap.begin(), headerMap.end(), logger, "header: ", true);
        const size_t bodyLength = view.remaining();
        ZOL_LOG(logger, DEBUG3, blocxx::Format("Read %1 bytes of data from data stream.", bodyLength));
        data.erase(data.begin(), data.end() - static_cast<std::ptrdiff_t>(bodyLength));
    }
    const blocxx::String sectionType = sectionTypeOf(headerMap);
    ZOL_LOG(logger, DEBUG2, blocxx::Format("Setting section type to be: %1", sectionType));
    contentType.setContentTypeString(sectionType);
}

MIME::ContentRef createUTF16Text(std::vector<char>& data)
{
    blocxx::Array<unsigned short> units(data.size() / 2, static_cast<unsigned short>(0));
    if (!units.empty())
    {
        std::memcpy(&units[0], data.data(), units.size() * 2);
    }
    releaseStorage(data);
    return MIME::ContentRef(new MIME::TextPlainContent(units, MIME::TextContent::E_LITTLE_ENDIAN));
}

MIME::ContentRef createText(std::vector<char>& data, const MIME::ContentTypeHeader& contentType,
                            const blocxx::Logger& logger)
{
    if (contentType.getParameterValue("charset").equalsIgnoreCase("UTF-16"))
    {
        ZOL_LOG(logger, DEBUG2, "Creating a TextPlainContent type for the given data (UTF-16).");
        return createUTF16Text(data);
    }
    ZOL_LOG(logger, DEBUG2, "Creating a TextPlainContent type for the given data (8 bit).");
    const blocxx::String text(data.data(), data.size());
    releaseStorage(data);
    return MIME::ContentRef(new MIME::TextPlainContent(text));
}

} // namespace

MIME::ContentRef createContent(std::vector<char>& data, const MIME::ContentTypeHeader& contentType)
{
    blocxx::Logger logger(COMPONENT_NAME);
    if (data.size() < 2)
    {
        // Deliberate: one byte of any type is dropped as well.
        ZOL_LOG(
            logger, DEBUG,
            blocxx::Format("createContent(): Length of content (%1) is too short.  Returning an empty text/plain type",
                           data.size()));
        return MIME::ContentRef(new MIME::TextPlainContent(blocxx::String()));
    }
    ZOL_LOG(logger, DEBUG3, blocxx::Format("createContent(): Extracting content for %1 bytes of data.", data.size()));
    MIME::ContentTypeHeader ownType = contentType;
    if (ownType.getType().equalsIgnoreCase("multipart"))
    {
        takePartHeaders(data, ownType, logger);
    }
    const blocxx::String mainType = ownType.getType();
    if (mainType.equalsIgnoreCase("text"))
    {
        return createText(data, ownType, logger);
    }
    if (mainType.equalsIgnoreCase("application"))
    {
        ZOL_LOG(logger, DEBUG2, "Creating an ApplicationOctetStreamContent type for the given data.");
        MIME::ContentRef content(new MIME::ApplicationOctetStreamContent(data.data(), data.size()));
        releaseStorage(data);
        return content;
    }
    ZOL_LOG(logger, ERROR, blocxx::Format("Invalid header type given to createContent(): %1", mainType));
    return MIME::ContentRef();
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
