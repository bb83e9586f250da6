#include "ResponseBody.hpp"

#include "ExitStatus.hpp"
#include "Text.hpp"

#include <algorithm>
#include <array>
#include <limits>

namespace zolget
{

namespace http = ZOLNS2::HTTP;
namespace mime = ZOLNS2::MIME;
using ZOLNS2::MIME::END_OF_DATA;

namespace
{

constexpr std::size_t BLOCK_SIZE = std::size_t{64} * 1024;
constexpr std::uint64_t NO_LIMIT = std::numeric_limits<std::uint64_t>::max();

using Block = std::array<char, BLOCK_SIZE>;

/// Reads a body from its connection as it arrives, so that the user sees what a slow server has sent so far.
class ArrivingBody
{
public:
    explicit ArrivingBody(mime::UnbufferedContent& content)
        : m_content(content), m_state(content.createInitialStreamState()),
          m_stream(content.getTransferDecoder()->istream())
    {
    }

    /// The bytes that have arrived, at most `limit`; waits for at least one. Empty at the end. Valid until the next
    /// call.
    std::string_view next(std::uint64_t limit)
    {
        // Waits for one byte only; getData would wait for all that it is asked for.
        m_stream.peek();
        const std::uint64_t arrived =
            static_cast<std::uint64_t>(std::max<std::streamsize>(m_stream.rdbuf()->in_avail(), 1));
        const std::uint64_t wanted = std::min({limit, arrived, std::uint64_t{BLOCK_SIZE}});
        const std::size_t count = m_content.getData(m_block.data(), static_cast<std::size_t>(wanted), m_state);
        return count == END_OF_DATA ? std::string_view() : std::string_view(m_block.data(), count);
    }

private:
    mime::UnbufferedContent& m_content;
    mime::ContentStreamStateRef m_state;
    std::istream& m_stream;
    Block m_block;
};

/// RFC 9110, sections 9.3.2 and 15.3: whatever their headers say, these responses have no body.
bool hasBody(const Options& options, const http::Response& response)
{
    const unsigned status = response.statusLine.statusCode;
    return options.method != "HEAD" && status != 204 && status != 205;
}

/// Refuses transfer codings that are not decoded: the coded bytes would be taken for the body.
void checkCoding(const Options& options, const http::Response& response)
{
    const blocxx::String coding = response.headers.getHeaderValue("transfer-encoding");
    const bool isMultipart = response.contentType.getType().equalsIgnoreCase("multipart");
    if (!coding.empty() && (isMultipart || !coding.equalsIgnoreCase("chunked")))
    {
        throw Failure(ExitStatus::MALFORMED, options.url.authority() + " sends a " + (isMultipart ? "multipart " : "") +
                                                 "body in the transfer coding \"" + printable(coding.c_str()) +
                                                 "\", which is not supported; try --http1.0");
    }
}

/// The announced length. With a transfer coding Content-Length is ignored (RFC 9112, section 6.3).
std::optional<std::uint64_t> announcedLength(const http::Response& response, mime::UnbufferedContent& content)
{
    if (!response.headers.getHeaderValue("transfer-encoding").empty() || !content.hasContentLength())
    {
        return std::nullopt;
    }
    return content.getContentLength();
}

/// @return the number of bytes copied
std::uint64_t copyArriving(Exchange& exchange, const http::Response& response, mime::UnbufferedContent& content,
                           Output& out, Progress& progress)
{
    const auto length = announcedLength(response, content);
    progress.setTotal(length);
    ArrivingBody body(content);
    std::uint64_t remaining = length.value_or(NO_LIMIT);
    while (remaining > 0)
    {
        const std::string_view bytes = body.next(remaining);
        if (bytes.empty())
        {
            break;
        }
        out.write(bytes);
        progress.add(bytes.size());
        remaining -= bytes.size();
    }
    const bool isWhole = length.has_value() ? remaining == 0 : content.getTransferDecoder()->bodyIsComplete();
    if (!isWhole)
    {
        exchange.failForIncomplete("the body");
    }
    return length.value_or(NO_LIMIT) - remaining;
}

/// @return the number of bytes copied
std::uint64_t copyStored(const mime::ContentRef& content, Output& out, Progress& progress)
{
    const mime::ContentStreamStateRef state = content->createInitialStreamState();
    Block block;
    std::size_t count = 0;
    while ((count = content->getData(block.data(), block.size(), state)) != END_OF_DATA)
    {
        out.write(std::string_view(block.data(), count));
        progress.add(count);
    }
    return content->getContentLength();
}

} // namespace

void copyBody(Exchange& exchange, http::Response& response, Destination& destination, Progress& progress)
{
    if (!hasBody(exchange.options(), response))
    {
        return;
    }
    checkCoding(exchange.options(), response);
    bool isStored = true;
    while (const mime::ContentRef part = response.getNextPart())
    {
        Output& out = destination.beginPart(part->getContentType());
        std::uint64_t length = 0;
        if (const auto arriving = part.cast_to<mime::UnbufferedContent>())
        {
            isStored = false;
            length = copyArriving(exchange, response, *arriving, out, progress);
        }
        else
        {
            length = copyStored(part, out, progress);
        }
        destination.endPart(length);
    }
    if (isStored && !response.bodyIsComplete())
    {
        exchange.failForIncomplete("the body");
    }
    progress.finish();
}

} // namespace zolget
