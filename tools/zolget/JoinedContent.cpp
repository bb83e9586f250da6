#include "JoinedContent.hpp"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace zolget
{

namespace mime = ZOLNS2::MIME;

namespace
{

class Cursor : public mime::ContentStreamState
{
public:
    std::vector<mime::ContentStreamStateRef> states;
    std::size_t index = 0;
    bool hasEndedBadly = false;
};

} // namespace

JoinedContent::JoinedContent(std::vector<mime::ContentRef> contents) : m_contents(std::move(contents)) {}

JoinedContent::~JoinedContent() = default;

mime::ContentTypeHeader JoinedContent::getContentType()
{
    return {"application", "octet-stream", {}};
}

bool JoinedContent::hasContentLength()
{
    return std::all_of(m_contents.begin(), m_contents.end(),
                       [](const mime::ContentRef& content) { return content->hasContentLength(); });
}

std::size_t JoinedContent::getContentLength()
{
    return std::accumulate(m_contents.begin(), m_contents.end(), std::size_t{0},
                           [](std::size_t sum, const mime::ContentRef& content)
                           { return sum + content->getContentLength(); });
}

std::size_t JoinedContent::getData(char* buffer, std::size_t size, const mime::ContentStreamStateRef& state)
{
    const auto cursor = state.cast_to<Cursor>();
    while (cursor->index < m_contents.size())
    {
        const mime::ContentRef& content = m_contents[cursor->index];
        const mime::ContentStreamStateRef& inner = cursor->states[cursor->index];
        const std::size_t count = content->getData(buffer, size, inner);
        if (count != mime::END_OF_DATA)
        {
            return count;
        }
        if (mime::endedBadly(content, inner))
        {
            cursor->hasEndedBadly = true;
            cursor->index = m_contents.size();
            break;
        }
        ++cursor->index;
    }
    return mime::END_OF_DATA;
}

mime::ContentStreamStateRef JoinedContent::createInitialStreamState() const
{
    const blocxx::IntrusiveReference<Cursor> cursor(new Cursor);
    std::transform(m_contents.begin(), m_contents.end(), std::back_inserter(cursor->states),
                   [](const mime::ContentRef& content) { return content->createInitialStreamState(); });
    return cursor;
}

bool JoinedContent::endedBadly(const mime::ContentStreamStateRef& state) const
{
    return state.cast_to<Cursor>()->hasEndedBadly;
}

} // namespace zolget
