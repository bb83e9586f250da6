#pragma once

#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

namespace ZOLNS2::MIME
{

/// Bytes in memory, or another content, under a type of one's own.
///
/// @code
/// const MIME::ContentRef body(new MIME::TypedContent("{\"answer\": 42}", "application/json"));
/// const MIME::ContentRef image(new MIME::TypedContent(received, "image/png")); // another content
/// @endcode
///
/// Only the type is its own: length, bytes, stream states and what it throws are those of the content within. It is
/// read by as many readers, and on as many threads, as that content.
class ZOL_API TypedContent : public Content, public ContentEnd
{
public:
    /// @param bytes copied; NUL is a byte like any other
    /// @param type  a media type, with parameters if need be: "text/csv; charset=UTF-8"
    /// @throws ContentException if `type` is not a media type
    TypedContent(const blocxx::String& bytes, const blocxx::String& type);
    /// @throws ContentException also if `content` is null
    TypedContent(const ContentRef& content, const blocxx::String& type);
    /// The same with a type in its parts, which is not checked.
    TypedContent(const ContentRef& content, const ContentTypeHeader& type);
    ~TypedContent() override;

    ContentTypeHeader getContentType() override;
    bool hasContentLength() override;
    size_t getContentLength() override;
    size_t getData(char* buf, size_t len, const ContentStreamStateRef& state) override;
    ContentStreamStateRef createInitialStreamState() const override;
    bool endedBadly(const ContentStreamStateRef& state) const override;

    /// The content within.
    const ContentRef& getContent() const { return m_content; }

private:
    ContentRef m_content; // never null
    ContentTypeHeader m_type;
};

} // namespace ZOLNS2::MIME
