#include "response/CreateContent.hpp"

#include "content/ReceivedOctetStream.hpp"
#include "response/HTTPResponseUnit.hpp"
#include "response/PartHeaders.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "zol/mime/TextContent.hpp"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

namespace
{

MIME::ContentRef createUTF16Text(MIME::ReceivedBytes& data)
{
    const size_t size = data.size() / 2 * 2;
    blocxx::Array<unsigned short> units(size / 2);
    for (size_t index = 0; index < size;)
    {
        const MIME::ReceivedBytes::Run run = data.runAt(index);
        const size_t count = std::min(run.size, size - index);
        std::memcpy(reinterpret_cast<char*>(&units[0]) + index, run.data, count);
        index += count;
    }
    data.clear();
    return MIME::ContentRef(new MIME::TextPlainContent(units, MIME::TextContent::E_LITTLE_ENDIAN));
}

MIME::ContentRef createText(MIME::ReceivedBytes& data, const MIME::ContentTypeHeader& contentType,
                            const OperationLog& log)
{
    if (contentType.getParameterValue("charset").equalsIgnoreCase("UTF-16"))
    {
        ZOL_LOG(log, DEBUG2, "Creating a TextPlainContent type for the given data (UTF-16).");
        return createUTF16Text(data);
    }
    ZOL_LOG(log, DEBUG2, "Creating a TextPlainContent type for the given data (8 bit).");
    std::string bytes;
    bytes.reserve(data.size());
    while (bytes.size() < data.size())
    {
        const MIME::ReceivedBytes::Run run = data.runAt(bytes.size());
        bytes.append(run.data, run.size);
    }
    data.clear();
    return MIME::ContentRef(new MIME::TextPlainContent(blocxx::String(std::move(bytes))));
}

} // namespace

MIME::ContentRef createContent(MIME::ReceivedBytes& data, const MIME::ContentTypeHeader& contentType)
{
    OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    if (data.size() < 2)
    {
        // Deliberate: one byte of any type is dropped as well.
        ZOL_LOG(
            log, DEBUG,
            blocxx::Format("createContent(): Length of content (%1) is too short.  Returning an empty text/plain type",
                           data.size()));
        return MIME::ContentRef(new MIME::TextPlainContent(blocxx::String()));
    }
    ZOL_LOG(log, DEBUG3, blocxx::Format("createContent(): Extracting content for %1 bytes of data.", data.size()));
    MIME::ContentTypeHeader ownType = contentType;
    if (ownType.getType().equalsIgnoreCase("multipart"))
    {
        takePartHeaders(data, ownType, log);
    }
    const blocxx::String mainType = ownType.getType();
    if (mainType.equalsIgnoreCase("text"))
    {
        return createText(data, ownType, log);
    }
    if (mainType.equalsIgnoreCase("application"))
    {
        ZOL_LOG(log, DEBUG2, "Creating an ApplicationOctetStreamContent type for the given data.");
        return MIME::ReceivedOctetStream::make(data.take());
    }
    ZOL_LOG(log, ERROR, blocxx::Format("Invalid header type given to createContent(): %1", mainType));
    return MIME::ContentRef();
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
