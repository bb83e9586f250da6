#pragma once

#include "blocxx/BaseStreamBuffer.hpp"
#include "zol/Export.hpp"
#include "zol/http/PayloadIStream.hpp"
#include "zol/mime/Content.hpp"

namespace ZOLNS2::HTTP
{

/// A stream buffer that refills itself, 4096 bytes at a time, from a content. It reads through a stream state of its
/// own, from the content's first byte.
class ZOL_API MIMEContentIStreamBuf : public blocxx::BaseStreamBuffer
{
public:
    /// @throws blocxx::NULLReferenceException for a null content, and what the content's createInitialStreamState()
    ///         throws
    explicit MIMEContentIStreamBuf(const MIME::ContentRef& content);
    ~MIMEContentIStreamBuf() override;

protected:
    /// What the content's getData() answers; its end of data is -1. Deliberate: 0 ends the stream as well, although a
    /// content that answers 0 may have more; reading goes on after the stream's state has been cleared.
    int buffer_from_device(char* buffer, int count) override;

private:
    MIME::ContentRef m_content;
    MIME::ContentStreamStateRef m_state;
};

/// Holds the buffer of a MIMEContentIStream, so that it exists before the stream that uses it.
class ZOL_API MIMEContentIStreamBase
{
protected:
    explicit MIMEContentIStreamBase(const MIME::ContentRef& content) : m_buffer(content) {}

    MIMEContentIStreamBuf m_buffer;
};

/// Reads any content as a standard input stream. Keeps the content alive.
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
