#pragma once

#include "zol/Export.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

namespace ZOLNS2::HTTP
{

/// Another content in chunked coding (RFC 9112, section 7.1), for a request whose length is not known beforehand. A
/// RequestBuilder makes one by itself.
///
/// @code
/// const MIME::ContentRef body(new HTTP::ChunkedContent(generated));
/// headers.addHeader("Transfer-Encoding", "chunked");
/// @endcode
///
/// Each chunk holds what one read of the content brought. The last chunk is written only when the content came to an
/// orderly end. There is no trailer. It is read by as many readers, and on as many threads, as the content within.
class ZOL_API ChunkedContent : public MIME::Content, public MIME::ContentEnd
{
public:
    /// @throws MIME::ContentException if `content` is null
    explicit ChunkedContent(const MIME::ContentRef& content);
    ~ChunkedContent() override;

    /// That of the content within.
    MIME::ContentTypeHeader getContentType() override;

    /// Never.
    bool hasContentLength() override;
    /// @throws MIME::ContentException
    size_t getContentLength() override;

    /// Requests of any size are served; those of 1024 bytes and more are read into the caller's memory directly.
    /// @throws MIME::ContentException if the content ends badly; what the content throws
    /// @throws blocxx::NULLReferenceException if `state` is null or of another kind
    size_t getData(char* buf, size_t len, const MIME::ContentStreamStateRef& state) override;
    MIME::ContentStreamStateRef createInitialStreamState() const override;

    /// Whether the content within ended badly.
    bool endedBadly(const MIME::ContentStreamStateRef& state) const override;

    /// The content within.
    const MIME::ContentRef& getContent() const { return m_content; }

private:
    class State;

    size_t writeChunk(char* to, size_t capacity, State& state) const;

    MIME::ContentRef m_content; // never null
};

} // namespace ZOLNS2::HTTP
