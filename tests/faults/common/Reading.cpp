#include "common/Reading.hpp"

#include "zol/mime/MultipartReader.hpp"

#include <utility>

namespace zol_faults
{

using namespace ZOLNS2;

namespace
{

const int MOST_EMPTY_READS = 1000;

std::function<void()> inTheMiddle;

} // namespace

void onceInTheMiddle(const std::function<void()>& action)
{
    inTheMiddle = action;
}

std::optional<std::string> bytesOf(const MIME::ContentRef& content)
{
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::string bytes;
    char block[1500];
    for (int empty = 0; empty < MOST_EMPTY_READS;)
    {
        const std::size_t count = content->getData(block, sizeof block, state);
        if (count == MIME::END_OF_DATA)
        {
            return bytes;
        }
        bytes.append(block, count);
        if (inTheMiddle)
        {
            std::exchange(inTheMiddle, nullptr)();
        }
        empty = count == 0 ? empty + 1 : 0;
    }
    return std::nullopt;
}

std::optional<std::string> wholeOf(const HTTP::Response& response)
{
    std::string all;
    for (const MIME::ContentRef& content : response.contents)
    {
        const std::optional<std::string> bytes = bytesOf(content);
        if (!bytes)
        {
            return std::nullopt;
        }
        all += *bytes + '|';
    }
    return response.bodyIsComplete() ? std::optional<std::string>(all) : std::nullopt;
}

std::optional<std::string> wholeOf(const HTTP::ExchangeResponse& response)
{
    const std::optional<std::string> bytes = bytesOf(response.getContent());
    return bytes && response.bodyEnd() == HTTP::ExchangeResponse::E_COMPLETE ? bytes : std::nullopt;
}

std::string partsOf(const MIME::ContentRef& body)
{
    MIME::MultipartReader reader(body);
    std::string all;
    while (const std::optional<MIME::MultipartPart> part = reader.next())
    {
        all += bytesOf(part->getContent()).value_or("(endless)") + '|';
    }
    return all;
}

} // namespace zol_faults
