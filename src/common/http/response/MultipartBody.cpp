#include "response/MultipartBody.hpp"

#include "response/CreateContent.hpp"
#include "response/HTTPResponseUnit.hpp"
#include "response/ReceivedPart.hpp"

#include "zol/mime/ContentException.hpp"
#include "zol/search/boyer_moore_search.hpp"

#include <istream>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

namespace
{

using Search = boyer_moore_search<char, unsigned long, int>;

Search searchFor(const blocxx::String& pattern)
{
    return Search(pattern.c_str(), pattern.length());
}

blocxx::String boundaryOf(const MIME::ContentTypeHeader& contentType)
{
    blocxx::String boundary = contentType.getParameterValue("boundary");
    if (boundary.empty())
    {
        const blocxx::String message = blocxx::Format("Content-Type says multipart, but no boundary supplied.  %1,",
                                                      contentType.getContentTypeString());
        throw MIME::ContentException(SOURCE_UNIT, __LINE__, message.c_str(), -1, nullptr, -1);
    }
    return boundary;
}

/// Takes what is left of the boundary's line off the front of a part.
void stripBoundaryLine(MIME::ReceivedBytes& part, const OperationLog& log)
{
    size_t lineEnd = 0;
    while (lineEnd < part.size() && (part[lineEnd] == ' ' || part[lineEnd] == '\t'))
    {
        ++lineEnd;
    }
    if (lineEnd == part.size())
    {
        // Deliberate: this text differs from the next one, and ends in a lone parenthesis.
        ZOL_LOG(log, ERROR, "No trailing \\r\\n located after boundary (.");
    }
    else if (part[lineEnd] == '\r' && lineEnd + 1 < part.size() && part[lineEnd + 1] == '\n')
    {
        lineEnd += 2;
    }
    else
    {
        ZOL_LOG(log, ERROR, "No trailing \\r\\n located after boundary.");
    }
    ZOL_LOG(log, DEBUG3, blocxx::Format("Discarding %1 bytes (whitespace) attached to the boundary line.", lineEnd));
    part.dropFront(lineEnd);
}

void logPart(const OperationLog& log, const ReceivedPart& part, const blocxx::String& remark, bool moreFollow)
{
    ZOL_LOG(log, DEBUG3, blocxx::Format("Snagged a part: %1 bytes long", part.size()));
    if (!remark.empty())
    {
        ZOL_LOG(log, DEBUG3, blocxx::Format("This part will be ignored: %1", remark));
    }
    ZOL_LOG(log, DEBUG3, moreFollow ? "More parts will follow." : "This is the last part.");
}

void appendContent(MIME::ReceivedBytes& part, MIME::Contents& contents, const MIME::ContentTypeHeader& contentType,
                   const OperationLog& log)
{
    const MIME::ContentRef content = createContent(part, contentType);
    if (!content)
    {
        // Deliberate: the type named is that of the whole body.
        ZOL_LOG(log, ERROR,
                blocxx::Format("Failed to create content for part .. (FIXME: Bad error message).: %1",
                               contentType.getType()));
        return;
    }
    contents.push_back(content);
}

} // namespace

/// The grammar of what is read here (RFC 2046, section 5.1.1), in which the delimiters are found by their bytes alone:
///
///     multipart-body    = [preamble CRLF] dash-boundary transport-padding CRLF body-part *encapsulation
///                         close-delimiter transport-padding [CRLF epilogue]
///     dash-boundary     = "--" boundary
///     encapsulation     = delimiter transport-padding CRLF body-part
///     delimiter         = CRLF dash-boundary
///     close-delimiter   = delimiter "--"
///     transport-padding = *LWSP-char
bool parseMultipartContent(std::istream& istr, MIME::Contents& contents, const MIME::ContentTypeHeader& contentType)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    const blocxx::String boundary = boundaryOf(contentType);
    Search search = searchFor("--" + boundary);
    ZOL_LOG(log, DEBUG3, "Getting parts for multi-part content");
    bool seenFirstBoundary = false;
    bool closed = false;
    ReceivedPart part;
    while (!istr.fail() && !closed)
    {
        if (seenFirstBoundary)
        {
            part.beginAfterBoundary();
        }
        const bool found = search.searchStreamInto(istr, part);
        blocxx::String remark;
        if (!seenFirstBoundary)
        {
            remark = "No prior parts.";
        }
        else if (part.isAfterClosingBoundary())
        {
            remark = "End of parts marker found.";
            closed = true;
        }
        else if (part.size() >= 2)
        {
            stripBoundaryLine(part.bytes(), log);
        }
        logPart(log, part, remark, found);
        if (remark.empty())
        {
            appendContent(part.bytes(), contents, contentType, log);
        }
        if (!seenFirstBoundary && found)
        {
            // From here on the line end before a boundary belongs to it, not to the part.
            search = searchFor("\r\n--" + boundary);
            seenFirstBoundary = true;
        }
    }
    return closed;
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
