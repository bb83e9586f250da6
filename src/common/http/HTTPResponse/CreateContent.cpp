#include "HTTPResponse/BodyReaders.hpp"
#include "HTTPResponse/ReceivedOctetStream.hpp"
#include "HTTPResponse/SourceUnit.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/String.hpp"
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/text/TormudaTextOperations.hpp"

#include <algorithm>
#include <cstring>
#include <istream>
#include <string>
#include <utility>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

namespace
{

/// An input stream buffer over received bytes that stay where they are. One of blocxx, so that lines are read in place.
class ReceivedBytesBuffer : public blocxx::BaseStreamBuffer
{
public:
    explicit ReceivedBytesBuffer(const ReceivedBytes& bytes)
        : BaseStreamBuffer(E_IN, blocxx::HTTP_BUF_SIZE), m_bytes(bytes)
    {
        const ReceivedBytes::Run run = bytes.runAt(0);
        setg(run.data, run.data, run.data + run.size);
        m_next = run.size;
    }

    size_t remaining() const { return static_cast<size_t>(egptr() - gptr()) + m_bytes.size() - m_next; }

protected:
    // Only for header lines that do not end in the first run.
    int buffer_from_device(char* to, int room) override
    {
        const ReceivedBytes::Run run = m_bytes.runAt(m_next);
        const size_t count = std::min(run.size, static_cast<size_t>(room));
        std::copy_n(run.data, count, to);
        m_next += count;
        return static_cast<int>(count);
    }

private:
    const ReceivedBytes& m_bytes;
    size_t m_next; ///< index of the first byte that is not in the buffer
};

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
void takePartHeaders(ReceivedBytes& data, MIME::ContentTypeHeader& contentType, blocxx::Logger& logger)
{
    OpenWBEM::HTTPHeaderMap headerMap;
    ReceivedBytesBuffer view(data);
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
        data.dropFront(data.size() - bodyLength);
    }
    const blocxx::String sectionType = sectionTypeOf(headerMap);
    ZOL_LOG(logger, DEBUG2, blocxx::Format("Setting section type to be: %1", sectionType));
    contentType.setContentTypeString(sectionType);
}

MIME::ContentRef createUTF16Text(ReceivedBytes& data)
{
    const size_t size = data.size() / 2 * 2;
    blocxx::Array<unsigned short> units(size / 2);
    for (size_t index = 0; index < size;)
    {
        const ReceivedBytes::Run run = data.runAt(index);
        const size_t count = std::min(run.size, size - index);
        std::memcpy(reinterpret_cast<char*>(&units[0]) + index, run.data, count);
        index += count;
    }
    data.clear();
    return MIME::ContentRef(new MIME::TextPlainContent(units, MIME::TextContent::E_LITTLE_ENDIAN));
}

MIME::ContentRef createText(ReceivedBytes& data, const MIME::ContentTypeHeader& contentType,
                            const blocxx::Logger& logger)
{
    if (contentType.getParameterValue("charset").equalsIgnoreCase("UTF-16"))
    {
        ZOL_LOG(logger, DEBUG2, "Creating a TextPlainContent type for the given data (UTF-16).");
        return createUTF16Text(data);
    }
    ZOL_LOG(logger, DEBUG2, "Creating a TextPlainContent type for the given data (8 bit).");
    std::string bytes;
    bytes.reserve(data.size());
    while (bytes.size() < data.size())
    {
        const ReceivedBytes::Run run = data.runAt(bytes.size());
        bytes.append(run.data, run.size);
    }
    data.clear();
    return MIME::ContentRef(new MIME::TextPlainContent(blocxx::String(std::move(bytes))));
}

} // namespace

MIME::ContentRef createContent(ReceivedBytes& data, const MIME::ContentTypeHeader& contentType)
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
        return MIME::ContentRef(new ReceivedOctetStream(data.take()));
    }
    ZOL_LOG(logger, ERROR, blocxx::Format("Invalid header type given to createContent(): %1", mainType));
    return MIME::ContentRef();
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
