#include "ResponseBody.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/MultipartReader.hpp"

#include <cstddef>
#include <memory>

namespace zolget
{

namespace http = ZOLNS2::HTTP;
namespace mime = ZOLNS2::MIME;

namespace
{

constexpr std::size_t BLOCK_SIZE = std::size_t{64} * 1024;

class BodyCopy
{
public:
    BodyCopy(Destination& destination, Progress& progress) : m_destination(destination), m_progress(progress) {}

    /// @return whether the content came to an orderly end
    bool copy(const mime::ContentRef& content)
    {
        const mime::ContentStreamStateRef state = content->createInitialStreamState();
        m_destination.beginPart(content->getContentType());
        std::uint64_t length = 0;
        std::size_t count = 0;
        while ((count = content->getData(m_block.get(), BLOCK_SIZE, state)) != mime::END_OF_DATA)
        {
            m_destination.write({m_block.get(), count});
            m_progress.add(count);
            length += count;
        }
        if (mime::endedBadly(content, state))
        {
            return false;
        }
        m_destination.endPart(length);
        return true;
    }

private:
    Destination& m_destination;
    Progress& m_progress;
    std::unique_ptr<char[]> m_block{new char[BLOCK_SIZE]};
};

bool isMultipart(const http::ExchangeResponse& response)
{
    return response.getContentType().getType().equalsIgnoreCase("multipart");
}

bool copyParts(const http::ExchangeResponse& response, std::size_t mostParts, BodyCopy& copy)
{
    mime::MultipartReader::Limits limits;
    limits.parts = mostParts;
    mime::MultipartReader reader(response.getContent(), limits);
    try
    {
        while (const std::optional<mime::MultipartPart> part = reader.next())
        {
            // The reader says why a part has ended badly when it is asked for the next one.
            copy.copy(part->getContent());
        }
    }
    catch (const http::ExchangeException&)
    {
        // What ended the body says more than that its last delimiter is missing.
        if (response.bodyEnd() == http::ExchangeResponse::E_OPEN ||
            response.bodyEnd() == http::ExchangeResponse::E_COMPLETE)
        {
            throw;
        }
    }
    return response.bodyEnd() == http::ExchangeResponse::E_COMPLETE;
}

} // namespace

bool copyBody(const http::ExchangeResponse& response, Destination& destination, Progress& progress)
{
    const mime::ContentRef content = response.getContent();
    BodyCopy copy(destination, progress);
    if (isMultipart(response) && destination.mostParts() > 0)
    {
        return copyParts(response, destination.mostParts(), copy);
    }
    if (content->hasContentLength())
    {
        progress.setTotal(content->getContentLength());
    }
    return copy.copy(content);
}

bool discardBody(const http::ExchangeResponse& response, std::uint64_t mostBytes)
{
    const mime::ContentRef content = response.getContent();
    const mime::ContentStreamStateRef state = content->createInitialStreamState();
    const std::unique_ptr<char[]> block(new char[BLOCK_SIZE]);
    for (std::uint64_t bytes = 0; bytes <= mostBytes;)
    {
        const std::size_t count = content->getData(block.get(), BLOCK_SIZE, state);
        if (count == mime::END_OF_DATA)
        {
            return response.bodyEnd() == http::ExchangeResponse::E_COMPLETE;
        }
        bytes += count;
    }
    return false;
}

} // namespace zolget
