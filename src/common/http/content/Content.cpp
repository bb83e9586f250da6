#include "zol/mime/Content.hpp"

#include "content/HTTPContentUnit.hpp"

#include "zol/mime/ContentException.hpp"

#include <algorithm>

namespace ZOLNS2::MIME
{

namespace
{

constexpr size_t SLICE = 2048;

} // namespace

ContentStreamState::~ContentStreamState() = default;

Content::~Content() = default;

blocxx::Array<char> getContentData(const ContentRef& content, ContentStreamStateRef& state, size_t len)
{
    blocxx::Array<char> data;
    char slice[SLICE];
    size_t remaining = len;
    while (remaining > 0) // which the largest length always is: no content has that many bytes
    {
        const size_t count = content->getData(slice, std::min(remaining, SLICE), state);
        if (count == END_OF_DATA)
        {
            break;
        }
        data.insert(data.end(), slice, slice + count);
        remaining -= count;
    }
    return data;
}

blocxx::Array<char> getContentData(const ContentRef& content, size_t len)
{
    if (!content)
    {
        throw ContentException(SOURCE_UNIT, __LINE__, "Unable to get content data: Null content supplied", -1, nullptr,
                               -1);
    }
    ContentStreamStateRef state = content->createInitialStreamState();
    return getContentData(content, state, len);
}

} // namespace ZOLNS2::MIME
