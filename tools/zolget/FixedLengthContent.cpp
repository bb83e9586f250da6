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
};

} // namespace

FixedLengthContent::FixedLengthContent(const mime::ContentRef& content, const mime::ContentTypeHeader& type,
                                       std::size_t length, std::size_t maximalGaps)
    : m_content(content), m_type(type), m_length(length), m_maximalGaps(maximalGaps)
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
    std::size_t count = 0;
    // Bounded, since a file that has become unreadable in the meantime delivers nothing for ever.
    for (std::size_t gaps = 0; count == 0 && wanted > 0 && gaps <= m_maximalGaps; ++gaps)
    {
        count = m_content->getData(buffer, wanted, cursor->m_inner);
    }
    if (count == END_OF_DATA || (count == 0 && wanted > 0))
    {
        m_endedEarly = true;
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

} // namespace zolget
