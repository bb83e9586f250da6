#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/Headers.hpp"
#include "zol/http/Parameter.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

namespace ZOLNS2::MIME
{

/// Contents one after the other as one body of any multipart type (RFC 2046, section 5.1), each with header lines of its
/// own; produced while it is read.
///
/// @code
/// blocxx::IntrusiveReference<MIME::MultipartContent> form(new MIME::MultipartContent("form-data"));
/// form->addField("title", "A day at the sea");
/// form->addFile("photo", "/home/me/sea.jpg", "image/jpeg");
/// builder.content(form);
/// @endcode
///
/// For multipart/related and the like:
///
/// @code
/// blocxx::IntrusiveReference<MIME::MultipartContent> page(new MIME::MultipartContent("related"));
/// page->setParameter("type", "text/html"); // RFC 2387 demands it
/// page->addPart(html);
/// HTTP::Headers headers;
/// headers.addHeader("Content-ID", "<logo>");
/// page->addPart(logo, headers);
/// @endcode
///
/// The wire form has no preamble and no epilogue, and ends with a line end. Without parts it is the closing delimiter
/// alone.
///
/// What is given is checked when it is given, and the type of a part is asked for then; so nothing in a part's head can
/// pass for another line. Parts are read when the body is read. A part that throws or ends badly (ContentEnd) ends the
/// reading with an exception: a message with a hole is never completed. To be filled by one thread; then any number of
/// readers on any threads read it, as far as the parts allow that.
class ZOL_API MultipartContent : public Content, public ContentEnd
{
public:
    /// Makes a boundary of 128 random bits.
    /// @param subtype "mixed", "form-data", "related"...
    /// @throws ContentException if `subtype` is not a token, or the system gives no random bytes
    explicit MultipartContent(const blocxx::String& subtype);

    /// With a given boundary, which may not occur in a part. That is checked for parts whose bytes are in memory when
    /// they are added; a file is not searched.
    /// @param boundary without the leading "--"
    /// @throws ContentException also if `boundary` is not one by RFC 2046, section 5.1.1
    MultipartContent(const blocxx::String& subtype, const blocxx::String& boundary);
    ~MultipartContent() override;

    /// A parameter of the content type beside the boundary, such as "type" of multipart/related.
    /// @throws ContentException if the name is not a token, is "boundary" or was given before, or if the value is empty
    ///         or holds control characters or a backslash
    void setParameter(const blocxx::String& name, const blocxx::String& value);

    /// Adds a part with the header lines `headers`, and with a Content-Type from its content unless they have one.
    /// @throws ContentException if `content` is null or its type is not one; if a name is not a token, a value holds
    ///         control characters or there are two lines Content-Type; if the given boundary occurs in the part; in
    ///         form-data if there is no Content-Disposition
    void addPart(const ContentRef& content, const HTTP::Headers& headers = HTTP::Headers());

    /// @name Parts of multipart/form-data (RFC 7578)
    /// Names of fields and files are written as browsers do: in UTF-8, if that is what they are given in, with the double
    /// quote as %22, CR as %0D and LF as %0A.
    /// @throws ContentException for any other subtype, if a name holds other control characters, and as addPart()
    /// @{

    /// A field with a text, sent as it is and without a Content-Type.
    void addField(const blocxx::String& name, const blocxx::String& value);
    /// A field with the content's type.
    void addField(const blocxx::String& name, const ContentRef& content);
    /// @param fileName a name without folders (RFC 7578, section 4.2)
    void addFile(const blocxx::String& name, const ContentRef& content, const blocxx::String& fileName);
    /// A FileContent with the name of the file, its folders left out.
    void addFile(const blocxx::String& name, const blocxx::String& path,
                 const blocxx::String& type = "application/octet-stream");
    /// @}

    /// multipart, the subtype, the parameters "boundary" and those that were set.
    ContentTypeHeader getContentType() override;

    /// Whether every part knows its length.
    bool hasContentLength() override;
    /// The bytes of the wire form.
    /// @throws ContentException if a part does not know its length
    size_t getContentLength() override;

    /// @throws ContentException if a part ends badly; what a part throws. Neither loses bytes that were delivered before.
    /// @throws blocxx::NULLReferenceException if `state` is null or of another kind
    size_t getData(char* buf, size_t len, const ContentStreamStateRef& state) override;

    /// Asks every part for a state; the reading is one of the parts that are there now.
    ContentStreamStateRef createInitialStreamState() const override;

    /// Whether a part that was read with `state` has ended badly.
    bool endedBadly(const ContentStreamStateRef& state) const override;

    /// Without the leading "--".
    blocxx::String getBoundary() const { return m_boundary; }

    /// The contents of the parts.
    Contents getParts() const;

private:
    struct Part
    {
        blocxx::String head; ///< header lines, and the empty line behind them
        ContentRef content;
    };
    class State;

    ContentTypeHeader typeHeader() const;
    void append(const blocxx::String& head, const ContentRef& content);
    void checkFormData() const;

    blocxx::String m_subtype;
    blocxx::String m_boundary;
    bool m_boundaryIsGiven;
    blocxx::Array<HTTP::Parameter> m_parameters;
    blocxx::Array<Part> m_parts;
};

} // namespace ZOLNS2::MIME
