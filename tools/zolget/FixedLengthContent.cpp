#include "FixedLengthContent.hpp"

#include <algorithm>

namespace zolget
{

namespace mime = ZOLNS2::MIME;
using ZOLNS2::MIME::END_OF_DATA;

namespace
{

class Cursor : public mime::ContentStreamState
{
public:
    Cursor(const mime::ContentStreamStateRef& inner, std::size_t remaining) : m_inner(inner), m_remaining(remaining) {}

    mime::ContentStreamStateRef m_inner;
    std::size_t m_remaining;
    bool m_endedEarly = false;
};

} // namespace

FixedLengthContent::FixedLengthContent(const mime::ContentRef& content, const mime::ContentTypeHeader& type,
                                       std::size_t length)
    : m_content(content), m_type(type), m_length(length)
{
}

mime::ContentTypeHeader FixedLengthContent::getContentType()
{
    return m_type;
}

bool FixedLengthContent::hasContentLength()
{
    return true;
}

std::size_t FixedLengthContent::getContentLength()
{
    return m_length;
}

std::size_t FixedLengthContent::getData(char* buffer, std::size_t size, const mime::ContentStreamStateRef& state)
{
    const auto cursor = state.cast_to<Cursor>();
    if (cursor->m_remaining == 0)
    {
        return END_OF_DATA;
    }
    const std::size_t wanted = std::min(size, cursor->m_remaining);
    const std::size_t count = m_content->getData(buffer, wanted, cursor->m_inner);
    // A file that cannot be read delivers nothing for ever.
    if (count == END_OF_DATA || (count == 0 && mime::endedBadly(m_content, cursor->m_inner)))
    {
        cursor->m_endedEarly = true;
        cursor->m_remaining = 0;
        return END_OF_DATA;
    }
    cursor->m_remaining -= count;
    m_wasReadWhole = m_wasReadWhole || cursor->m_remaining == 0;
    return count;
}

mime::ContentStreamStateRef FixedLengthContent::createInitialStreamState() const
{
    return mime::ContentStreamStateRef(new Cursor(m_content->createInitialStreamState(), m_length));
}

bool FixedLengthContent::endedBadly(const mime::ContentStreamStateRef& state) const
{
    return state.cast_to<Cursor>()->m_endedEarly;
}

} // namespace zolget
