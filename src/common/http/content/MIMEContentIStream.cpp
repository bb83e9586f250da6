#include "zol/http/MIMEContentIStream.hpp"

#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/OctetStreamContent.hpp"

#include <cerrno>

namespace ZOLNS2::HTTP
{

MIMEContentIStreamBuf::MIMEContentIStreamBuf(const MIME::ContentRef& content)
    : BaseStreamBuffer(E_IN, blocxx::HTTP_BUF_SIZE), m_content(content), m_state(m_content->createInitialStreamState())
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
