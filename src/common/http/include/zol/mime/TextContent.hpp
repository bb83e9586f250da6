#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

namespace ZOLNS2::MIME
{

/// A reader's position in a text.
class ZOL_API TextContentStreamState : public ContentStreamState
{
public:
    ~TextContentStreamState() override;

    size_t position = 0; ///< index of the next byte to deliver
};

/// A text in memory, encoded, of type "text" and with the parameter "charset". Never changed after construction, so
/// readers on several threads need no lock. The derived class supplies the subtype.
///
/// @code
/// const MIME::ContentRef body(new MIME::TextXMLContent("<greeting/>"));
/// @endcode
class ZOL_API TextContent : public Content, public ContentEnd
{
public:
    /// The bytes of one 16-bit unit. Deliberate: any other value means the order of the host's memory.
    enum EByteOrderingFlag : unsigned int
    {
        E_LITTLE_ENDIAN = 0,
        E_BIG_ENDIAN = 1
    };

    /// A text that is UTF-8 already; that is not checked.
    explicit TextContent(const blocxx::String& text);
    /// A text of UTF-16 units. Deliberate: no byte-order mark is written, and the charset is "UTF-16" in either order.
    TextContent(const blocxx::Array<unsigned short>& text, EByteOrderingFlag order);
    ~TextContent() override;

    ContentTypeHeader getContentType() override;
    bool hasContentLength() override;
    size_t getContentLength() override;
    size_t getData(char* buf, size_t len, const ContentStreamStateRef& state) override;
    ContentStreamStateRef createInitialStreamState() const override;

    /// "plain" of "text/plain".
    virtual blocxx::String getSubtype() const = 0;

    /// Never: all bytes are there.
    bool endedBadly(const ContentStreamStateRef& state) const override;

private:
    friend class OwnBytes;

    blocxx::String m_charset;
    blocxx::Array<unsigned char> m_data;
};

/// text/plain
class ZOL_API TextPlainContent : public TextContent
{
public:
    using TextContent::TextContent;
    ~TextPlainContent() override;

    blocxx::String getSubtype() const override;
};

/// text/xml
class ZOL_API TextXMLContent : public TextContent
{
public:
    using TextContent::TextContent;
    ~TextXMLContent() override;

    blocxx::String getSubtype() const override;
};

} // namespace ZOLNS2::MIME
