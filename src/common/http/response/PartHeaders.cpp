#include "response/PartHeaders.hpp"

#include "message/HeadInPlace.hpp"
#include "response/HTTPResponseUnit.hpp"
#include "response/ReceivedBytesBuffer.hpp"
#include "response/ResponseHead.hpp"

#include "blocxx/String.hpp"
#include "openwbem/OW_HTTPUtils.hpp"

#include <algorithm>
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

bool isContentType(std::string_view name)
{
    constexpr std::string_view CONTENT_TYPE = "content-type";
    return name.size() == CONTENT_TYPE.size() && std::equal(name.begin(), name.end(), CONTENT_TYPE.begin(),
                                                            [](char c, char lower) { return (c | 0x20) == lower; });
}

} // namespace

bool takePartHeadersInPlace(MIME::ReceivedBytes& data, std::string_view& type)
{
    const MIME::ReceivedBytes::Run run = data.runAt(0);
    HeadInPlace head;
    if (!head.scan({run.data, run.size}, HeadInPlace::E_PART))
    {
        return false;
    }
    const HeadInPlace::Field* found = nullptr;
    for (const HeadInPlace::Field& field : head)
    {
        if (isContentType(field.nameView()))
        {
            if (found != nullptr)
            {
                return false;
            }
            found = &field;
        }
    }
    type = found == nullptr ? std::string_view("application/octet-stream") : found->valueView();
    data.dropFront(head.length());
    return true;
}

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
