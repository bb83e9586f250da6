#pragma once

#include "zol/Export.hpp"
#include "zol/http/HTTPTransferDecoder.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <cstddef>
#include <optional>

namespace ZOLNS2::MIME
{

/// The token that a reader of an UnbufferedContent holds; the position is that of the decoder's stream.
class ZOL_API UnbufferedContentStreamState : public ContentStreamState
{
public:
    ~UnbufferedContentStreamState() override;
};

/// A response body that has not been read yet: its bytes come straight off the connection as the reader pulls them.
/// They can be read once, so there is only one stream state.
///
/// Used by one reader at a time.
///
/// @code
/// const MIME::ContentRef body = response.getNextPart(); // of what getPage() returned
/// const blocxx::Array<char> start = MIME::getContentData(body, 1024);
/// @endcode
class ZOL_API UnbufferedContent : public Content, public ContentEnd
{
public:
    /// Reads nothing.
    /// @param decoder        where the body comes from; a reference to it is kept, and so is the connection
    /// @param contentLength  the announced number of bytes, or the largest `unsigned long` where none was announced
    UnbufferedContent(const HTTP::HTTPTransferDecoderRef& decoder, const ContentTypeHeader& contentType,
                      unsigned long contentLength);
    ~UnbufferedContent() override;

    /// The header passed to the constructor, unchanged.
    ContentTypeHeader getContentType() override;

    /// Whether a length was announced.
    bool hasContentLength() override;

    /// The announced length in bytes; the largest `unsigned long` for an unknown one. No read is bounded by it: on a
    /// connection that stays open the reader has to count.
    unsigned long getContentLength() override;

    /// Reads up to `count` bytes of the body into `buffer`, waiting for them; fewer only at the end of the body.
    /// `state` is ignored.
    /// @return how many bytes were read (0 where the body ended exactly before this call), or the end-of-data value,
    ///         the largest `size_t`, once the stream has failed: bodyIsComplete of getTransferDecoder() tells an
    ///         orderly end from a cut
    /// @throws blocxx::NULLReferenceException where there is no decoder
    size_t getData(char* buffer, size_t count, const ContentStreamStateRef& state) override;

    /// The one stream state of this content.
    /// @throws ContentException on the second call
    ContentStreamStateRef createInitialStreamState() const override;

    /// Whether the decoder's stream has failed before the body was complete: after a cut, an error or malformed
    /// framing. Deliberate: a body shorter than its announced length is not a bad end. `state` is ignored.
    bool endedBadly(const ContentStreamStateRef& state) const override;

    /// The decoder that the body is read through.
    HTTP::HTTPTransferDecoderRef getTransferDecoder() const;

private:
    friend class UnbufferedContentStore;

    UnbufferedContent(const HTTP::HTTPConnection& connection, const ContentTypeHeader& contentType,
                      unsigned long contentLength);

    // One of the two, until somebody asks for the decoder that the connection's bytes go through unchanged.
    std::optional<HTTP::HTTPConnection> m_connection;
    bool m_failedBeforeBody = false; // the connection
    mutable HTTP::HTTPTransferDecoderRef m_decoder;
    unsigned long m_contentLength;
    ContentTypeHeader m_contentType;
    mutable bool m_used;
};

} // namespace ZOLNS2::MIME
