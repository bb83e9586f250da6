#include "response/CreateContent.hpp"

#include "content/ContentTypeStore.hpp"
#include "content/ReceivedOctetStream.hpp"
#include "response/HTTPResponseUnit.hpp"
#include "response/PartHeaders.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/String.hpp"
#include "zol/mime/TextContent.hpp"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
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

MIME::ContentRef createOfType(const blocxx::String& mainType, MIME::ReceivedBytes& data,
                              const MIME::ContentTypeHeader& contentType, const OperationLog& log)
{
    if (mainType.equalsIgnoreCase("text"))
    {
        return createText(data, contentType, log);
    }
    if (mainType.equalsIgnoreCase("application"))
    {
        ZOL_LOG(log, DEBUG2, "Creating an ApplicationOctetStreamContent type for the given data.");
        return MIME::ReceivedOctetStream::make(data.take());
    }
    ZOL_LOG(log, ERROR, blocxx::Format("Invalid header type given to createContent(): %1", mainType));
    return MIME::ContentRef();
}

/// What follows the header lines of a part that were taken in place. A type without parameters is not parsed: its main
/// type is all that is needed of it.
MIME::ContentRef createPart(std::string_view type, MIME::ReceivedBytes& data,
                            const MIME::ContentTypeHeader& multipartType, const OperationLog& log)
{
    const std::size_t slash = type.find('/');
    if (slash == std::string_view::npos || type.find(';') != std::string_view::npos)
    {
        MIME::ContentTypeHeader ownType = multipartType;
        ownType.setContentTypeString("Content-type: " + blocxx::String(type.data(), type.size()));
        return createOfType(ownType.getType(), data, ownType, log);
    }
    const std::size_t length = type.substr(0, slash).find_last_not_of(" \t") + 1; // none is the largest number
    return createOfType(blocxx::String(type.data(), length), data, multipartType, log);
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
    if (!MIME::ContentTypeStore::isOfType(contentType, "multipart"))
    {
        return createOfType(contentType.getType(), data, contentType, log);
    }
    std::string_view type;
    if (blocxx::LogAppender::nothingIsLogged() && takePartHeadersInPlace(data, type))
    {
        return createPart(type, data, contentType, log);
    }
    MIME::ContentTypeHeader ownType = contentType;
    takePartHeaders(data, ownType, log);
    return createOfType(ownType.getType(), data, ownType, log);
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
