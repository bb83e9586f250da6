#include "zol/mime/TypedContent.hpp"

#include "exchange/MediaType.hpp"
#include "exchange/Refusal.hpp"

#include "zol/mime/OctetStreamContent.hpp"

namespace ZOLNS2::MIME
{

TypedContent::TypedContent(const blocxx::String& bytes, const blocxx::String& type)
    : TypedContent(ContentRef(new ApplicationOctetStreamContent(bytes.c_str(), bytes.length())), type)
{
}

TypedContent::TypedContent(const ContentRef& content, const blocxx::String& type)
    : TypedContent(content, parseMediaType(type))
{
}

TypedContent::TypedContent(const ContentRef& content, const ContentTypeHeader& type) : m_content(content), m_type(type)
{
    mediaTypeText(type);
    if (!content)
    {
        refuseContent("There is no content to give a type to");
    }
}

TypedContent::~TypedContent() = default;

ContentTypeHeader TypedContent::getContentType()
{
    return m_type;
}

bool TypedContent::hasContentLength()
{
    return m_content->hasContentLength();
}

size_t TypedContent::getContentLength()
{
    return m_content->getContentLength();
}

size_t TypedContent::getData(char* buf, size_t len, const ContentStreamStateRef& state)
{
    return m_content->getData(buf, len, state);
}

ContentStreamStateRef TypedContent::createInitialStreamState() const
{
    return m_content->createInitialStreamState();
}

bool TypedContent::endedBadly(const ContentStreamStateRef& state) const
{
    return MIME::endedBadly(m_content, state);
}

} // namespace ZOLNS2::MIME
