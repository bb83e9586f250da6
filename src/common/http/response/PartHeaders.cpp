#include "response/PartHeaders.hpp"

#include "response/HTTPResponseUnit.hpp"
#include "response/ReceivedBytesBuffer.hpp"
#include "response/ResponseHead.hpp"

#include "blocxx/String.hpp"
#include "openwbem/OW_HTTPUtils.hpp"

#include <istream>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

namespace
{

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

} // namespace

void takePartHeaders(MIME::ReceivedBytes& data, MIME::ContentTypeHeader& contentType, OperationLog& log)
{
    OpenWBEM::HTTPHeaderMap headerMap;
    ReceivedBytesBuffer view(data);
    std::istream stream(&view);
    if (!OpenWBEM::HTTPUtils::buildMap(headerMap, stream))
    {
        // Deliberate: no error. The part keeps all its bytes, and a type named before the unreadable line counts.
        ZOL_LOG(log, DEBUG, "Failed parsing headers (no content-type supplied)...");
    }
    else
    {
        ZOL_LOG(log, DEBUG3, "Headers parsed correctly...");
        if (log.admits(blocxx::E_DEBUG3_LEVEL))
        {
            logFields(log, headerMap);
        }
        const size_t bodyLength = view.remaining();
        ZOL_LOG(log, DEBUG3, blocxx::Format("Read %1 bytes of data from data stream.", bodyLength));
        data.dropFront(data.size() - bodyLength);
    }
    const blocxx::String sectionType = sectionTypeOf(headerMap);
    ZOL_LOG(log, DEBUG2, blocxx::Format("Setting section type to be: %1", sectionType));
    contentType.setContentTypeString(sectionType);
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
