#include "content/OwnContents.hpp"

#include "content/OwnState.hpp"
#include "content/StoredBytes.hpp"

#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/UnbufferedContent.hpp"

#include <typeinfo>

namespace ZOLNS2::MIME
{

namespace
{

template <class... Types>
bool isOneOf(const Content& content)
{
    return ((typeid(content) == typeid(Types)) || ...);
}

} // namespace

bool isOwnContent(const Content& content)
{
    return isOneOf<UnbufferedContent, TextPlainContent, TextXMLContent, ApplicationOctetStreamContent,
                   FileApplicationOctetStreamContent>(content);
}

bool isOwnFiles(const Content& content)
{
    return isOneOf<FileApplicationOctetStreamContent>(content);
}

OwnBytes::OwnBytes(const Content& content, const ContentStreamStateRef& state)
{
    if (isOneOf<ApplicationOctetStreamContent>(content))
    {
        m_stored = static_cast<const ApplicationOctetStreamContent&>(content).m_bytes.get();
        m_position = &ownState<ApplicationOctetStreamContentStreamState>(state).position;
    }
    else if (isOneOf<TextPlainContent, TextXMLContent>(content))
    {
        const blocxx::Array<unsigned char>& data = static_cast<const TextContent&>(content).m_data;
        if (!data.empty())
        {
            m_text = {reinterpret_cast<const char*>(&data[0]), data.size()};
        }
        m_position = &ownState<TextContentStreamState>(state).position;
    }
}

std::string_view OwnBytes::run() const
{
    if (m_stored != nullptr)
    {
        return m_stored->runAt(*m_position);
    }
    return *m_position < m_text.size() ? m_text.substr(*m_position) : std::string_view();
}

} // namespace ZOLNS2::MIME
