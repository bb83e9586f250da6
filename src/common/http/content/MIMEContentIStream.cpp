#include "zol/http/MIMEContentIStream.hpp"

#include "content/OwnContents.hpp"

#include "blocxx/LogAppender.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/OctetStreamContent.hpp"

#include <cerrno>
#include <climits>

namespace ZOLNS2::HTTP
{

MIMEContentIStreamBuf::MIMEContentIStreamBuf(const MIME::ContentRef& content)
    : BaseStreamBuffer(E_IN, blocxx::HTTP_BUF_SIZE), m_content(content), m_state(m_content->createInitialStreamState()),
      m_passesLargeReadsOn(MIME::isOwnContent(*m_content) && !MIME::isOwnFiles(*m_content))
{
}

MIMEContentIStreamBuf::~MIMEContentIStreamBuf() = default;

int MIMEContentIStreamBuf::buffer_from_device(char* buffer, int count)
{
    const size_t got = m_content->getData(buffer, static_cast<size_t>(count), m_state);
    if (got == 0 || got == MIME::END_OF_DATA)
    {
        noteReadOfNothing(got == MIME::END_OF_DATA);
    }
    else
    {
        m_emptyReads = 0;
    }
    return static_cast<int>(got);
}

std::streamsize MIMEContentIStreamBuf::xsgetn(char* to, std::streamsize count)
{
    if (m_passesLargeReadsOn && blocxx::LogAppender::nothingIsLogged())
    {
        return readLarge(to, count);
    }
    setLargestDirectRead(blocxx::HTTP_BUF_SIZE);
    return BaseStreamBuffer::xsgetn(to, count);
}

/// The plain way asks the content for 4096 bytes at a time, which costs a sixteenth of an instruction a byte or more. The
/// bytes and the end are the same, but that of a file: reads of another size meet it with or without a read of nothing.
std::streamsize MIMEContentIStreamBuf::readLarge(char* to, std::streamsize count)
{
    setLargestDirectRead(INT_MAX);
    return BaseStreamBuffer::xsgetn(to, count);
}

void MIMEContentIStreamBuf::noteReadOfNothing(bool endOfData)
{
    m_reachedEndOfData = endOfData;
    if (MIME::endedBadly(m_content, m_state))
    {
        failInput(EIO, "The content ended before all of its data was delivered");
        return;
    }
    const auto files = m_state.cast_to<MIME::FileApplicationOctetStreamContentStreamState>();
    const size_t fileIndex = files ? files->fileIndex : 0;
    m_emptyReads = endOfData || fileIndex != m_fileIndex ? 0 : m_emptyReads + 1;
    m_fileIndex = fileIndex;
}

MIMEContentIStream::MIMEContentIStream(const MIME::ContentRef& content)
    : MIMEContentIStreamBase(content), PayloadIStream(&m_buffer), m_content(content)
{
    m_buffer.reportErrorsTo(this);
}

MIMEContentIStream::~MIMEContentIStream() = default;

bool MIMEContentIStream::hasContentLength()
{
    return m_content->hasContentLength();
}

unsigned long MIMEContentIStream::getContentLength()
{
    return m_content->getContentLength();
}

} // namespace ZOLNS2::HTTP
