#include "zol/mime/TextContent.hpp"

#include "content/HTTPContentUnit.hpp"
#include "content/OwnState.hpp"

#include <algorithm>
#include <cstring>

namespace ZOLNS2::MIME
{

namespace
{

using blocxx::Array;
using blocxx::String;

Array<unsigned char> bytesOf(const String& text)
{
    const auto* const begin = reinterpret_cast<const unsigned char*>(text.c_str());
    return Array<unsigned char>(begin, begin + text.length());
}

void storeUnit(unsigned char* bytes, unsigned short unit, TextContent::EByteOrderingFlag order)
{
    const auto low = static_cast<unsigned char>(unit & 0xFFU);
    const auto high = static_cast<unsigned char>(unit >> 8U);
    switch (order)
    {
    case TextContent::E_LITTLE_ENDIAN:
        bytes[0] = low;
        bytes[1] = high;
        break;
    case TextContent::E_BIG_ENDIAN:
        bytes[0] = high;
        bytes[1] = low;
        break;
    default:
        std::memcpy(bytes, &unit, 2);
        break;
    }
}

Array<unsigned char> bytesOf(const Array<unsigned short>& units, TextContent::EByteOrderingFlag order)
{
    Array<unsigned char> bytes;
    if (units.empty())
    {
        return bytes;
    }
    bytes.resize(units.size() * 2);
    unsigned char* next = &bytes[0];
    for (const unsigned short unit : units)
    {
        storeUnit(next, unit, order);
        next += 2;
    }
    return bytes;
}

} // namespace

TextContentStreamState::~TextContentStreamState() = default;

TextContent::TextContent(const String& text) : m_charset("UTF-8"), m_data(bytesOf(text)) {}

TextContent::TextContent(const Array<unsigned short>& text, EByteOrderingFlag order)
    : m_charset("UTF-16"), m_data(bytesOf(text, order))
{
}

TextContent::~TextContent() = default;

ContentTypeHeader TextContent::getContentType()
{
    return ContentTypeHeader("text", getSubtype(), Array<HTTP::Parameter>(1, HTTP::Parameter("charset", m_charset)));
}

bool TextContent::hasContentLength()
{
    return true;
}

size_t TextContent::getContentLength()
{
    return m_data.size();
}

size_t TextContent::getData(char* buf, size_t len, const ContentStreamStateRef& state)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    auto& own = ownState<TextContentStreamState>(state);
    // Read through a constant view: the bytes are not changed, so they need not be unshared.
    const Array<unsigned char>& data = m_data;
    ZOL_LOG(log, DEBUG2,
            blocxx::Format("TextContent::getData() called for %1 bytes at position %2.  Content length=%3", len,
                           own.position, data.size()));
    if (own.position >= data.size())
    {
        return END_OF_DATA;
    }
    const size_t available = data.size() - own.position;
    const size_t count = std::min(len, available);
    if (count > 0)
    {
        std::memcpy(buf, &data[own.position], count);
        own.position += count;
    }
    ZOL_LOG(log, DEBUG2, blocxx::Format("Read %1 bytes.  %2 bytes remain.", count, available - count));
    return count;
}

ContentStreamStateRef TextContent::createInitialStreamState() const
{
    return ContentStreamStateRef(new TextContentStreamState);
}

bool TextContent::endedBadly(const ContentStreamStateRef&) const
{
    return false;
}

TextPlainContent::~TextPlainContent() = default;

String TextPlainContent::getSubtype() const
{
    return "plain";
}

TextXMLContent::~TextXMLContent() = default;

String TextXMLContent::getSubtype() const
{
    return "xml";
}

} // namespace ZOLNS2::MIME
