#pragma once

#include "blocxx/BaseStreamBuffer.hpp"
#include "zol/Export.hpp"
#include "zol/http/PayloadIStream.hpp"
#include "zol/mime/Content.hpp"

namespace ZOLNS2::HTTP
{

/// A stream buffer that refills itself, 4096 bytes at a time, from a content. It reads through a stream state of its
/// own, from the content's first byte. A larger read of a content in memory or of a received body goes to it whole, unless
/// a log is listening, which shows the reads.
///
/// What the content delivers before it throws or ends badly (MIME::ContentEnd) is read first. From then on the input
/// has failed for good: inputState() says so, and a MIMEContentIStream is bad, also after clear().
class ZOL_API MIMEContentIStreamBuf : public blocxx::BaseStreamBuffer
{
public:
    /// @throws blocxx::NULLReferenceException for a null content, and what the content's createInitialStreamState()
    ///         throws
    explicit MIMEContentIStreamBuf(const MIME::ContentRef& content);
    ~MIMEContentIStreamBuf() override;

    /// Whether the content has reported the end of its data. If not, a stream that has ended can be read on.
    bool reachedEndOfData() const { return m_reachedEndOfData; }

    /// The reads in a row that brought nothing and did not end the data. Those that moved the library's own file
    /// content on to its next file do not count.
    size_t emptyReads() const { return m_emptyReads; }

protected:
    /// What the content's getData() returns; its end of data is -1. Deliberate: 0 ends the stream as well, although a
    /// content that returns 0 may have more; the stream can be read on when its state has been cleared.
    int buffer_from_device(char* buffer, int count) override;

    std::streamsize xsgetn(char* to, std::streamsize count) override;

private:
    friend class EntityBodyAccess;

    std::streamsize readLarge(char* to, std::streamsize count);
    void noteReadOfNothing(bool endOfData);

    MIME::ContentRef m_content;
    MIME::ContentStreamStateRef m_state;
    const bool m_passesLargeReadsOn;
    bool m_reachedEndOfData = false;
    size_t m_emptyReads = 0;
    size_t m_fileIndex = 0; // at the last empty read
};

/// Holds the buffer of a MIMEContentIStream, so that it exists before the stream that uses it.
class ZOL_API MIMEContentIStreamBase
{
protected:
    /// @throws as the constructor of MIMEContentIStreamBuf
    explicit MIMEContentIStreamBase(const MIME::ContentRef& content) : m_buffer(content) {}

    /// The buffer of the stream.
    MIMEContentIStreamBuf m_buffer;
};

/// Reads any content as a standard input stream. Keeps the content alive.
///
/// @code
/// HTTP::MIMEContentIStream body(content);
/// for (std::string line; std::getline(body, line);)
/// {
///     ...
/// }
/// @endcode
class ZOL_API MIMEContentIStream : private MIMEContentIStreamBase, public PayloadIStream
{
public:
    /// @throws as the constructor of MIMEContentIStreamBuf
    explicit MIMEContentIStream(const MIME::ContentRef& content);
    ~MIMEContentIStream() override;

    bool hasContentLength() override;
    /// @throws what the content's getContentLength() throws
    unsigned long getContentLength() override;

private:
    MIME::ContentRef m_content;
};

} // namespace ZOLNS2::HTTP
