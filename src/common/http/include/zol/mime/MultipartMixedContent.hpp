#pragma once

#include "blocxx/String.hpp"
#include "blocxx/StringBuffer.hpp"
#include "zol/Export.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

#include <cstddef>

namespace ZOLNS2::MIME
{

/// A reader's position in the wire form of a MultipartMixedContent. It can be at any byte, and only moves forward.
class ZOL_API MultipartMixedContentStreamState : public ContentStreamState
{
public:
    /// What is being written.
    enum EPhase
    {
        E_DELIMITER,         ///< "--", boundary, line end
        E_PART_HEADER,       ///< the part's one header line and the empty line
        E_BODY,              ///< what the part itself delivers
        E_AFTER_BODY,        ///< the line end before the next delimiter
        E_CLOSING_DELIMITER, ///< "--", boundary, "--"
        E_FINISHED
    };

    /// At the first delimiter line.
    MultipartMixedContentStreamState(const ContentStreamStateRef& partState, const blocxx::String& boundary);
    ~MultipartMixedContentStreamState() override;

    int phase = E_DELIMITER;         ///< one of EPhase
    unsigned long partIndex = 0;     ///< the part being written
    ContentStreamStateRef partState; ///< the position in that part
    blocxx::StringBuffer text;       ///< what is being written, unless the phase is E_BODY
    unsigned long textPosition = 0;  ///< how many bytes of the text have been written
    bool aPartEndedBadly = false;    ///< whether a part that has been written says so
};

/// Contents one after the other as one body of type multipart/mixed (RFC 2046, section 5.1.3), produced while it is
/// read: for every part a delimiter line, the part's content type as its only header line, an empty line, the bytes of
/// the part and a line end; at last the closing delimiter without a line end. There is no preamble and no epilogue.
///
/// The boundary must not occur in the bytes of a part; that is not checked.
///
/// @code
/// blocxx::IntrusiveReference<MIME::MultipartMixedContent> body(new MIME::MultipartMixedContent("boundary-7f3a"));
/// body->addPart(MIME::ContentRef(new MIME::TextPlainContent("a text")));
/// body->addPart(MIME::ContentRef(new MIME::FileApplicationOctetStreamContent("photo.jpg")));
/// @endcode
class ZOL_API MultipartMixedContent : public Content, public ContentEnd
{
public:
    /// @param boundary without the leading "--"
    explicit MultipartMixedContent(const blocxx::String& boundary);
    /// @param parts in their order, none of them null
    MultipartMixedContent(const Contents& parts, const blocxx::String& boundary);
    ~MultipartMixedContent() override;

    /// multipart/mixed with the parameter "boundary".
    ContentTypeHeader getContentType() override;

    /// Whether every part knows its length; true where there is no part.
    bool hasContentLength() override;

    /// The bytes of the wire form. Deliberate: where there is no part, those of a closing delimiter that is
    /// never written.
    /// @throws ContentException if a part does not know its length
    unsigned long getContentLength() override;

    /// Deliberate irregularities: a request of 0 bytes returns END_OF_DATA; one call copies less
    /// than 2 GiB; a part whose getData() returns 0 is asked again at once, until it delivers or reports its end.
    ///
    /// What a part throws passes through. The bytes copied by that call are lost, and after a failing getContentType()
    /// the next call continues after that part's header line.
    /// @return the bytes copied; the largest size_t at the end, and at once where there is no part
    /// @throws blocxx::NULLReferenceException if `state` is null or of another kind, or a part is null
    size_t getData(char* buffer, size_t count, const ContentStreamStateRef& state) override;

    /// Deliberate: asks the first part for a state, and the reading asks it for another one. So a content that can be
    /// read once, like UnbufferedContent, cannot be the first part.
    ContentStreamStateRef createInitialStreamState() const override;

    /// Without the leading "--".
    virtual blocxx::String getBoundary();

    /// To be set before the reading starts: the first delimiter of a state that has been made keeps the old one.
    virtual void setBoundary(blocxx::String boundary);

    /// The parts themselves. To be changed before the reading starts.
    virtual Contents& getParts();

    /// Appends `part`.
    virtual void addPart(ContentRef part);

    /// Whether one of the parts read so far ended badly. The parts after it are written all the same.
    /// @throws blocxx::NULLReferenceException if there are parts and `state` is null or of another kind
    bool endedBadly(const ContentStreamStateRef& state) const override;

private:
    void advance(MultipartMixedContentStreamState& state) const;

    Contents m_parts;
    blocxx::String m_boundary;
};

} // namespace ZOLNS2::MIME
