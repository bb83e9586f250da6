#include "zol/http/MIMEContentIStream.hpp"

namespace ZOLNS2::HTTP
{

MIMEContentIStreamBuf::MIMEContentIStreamBuf(const MIME::ContentRef& content)
    : BaseStreamBuffer(E_IN, blocxx::HTTP_BUF_SIZE), m_content(content), m_state(m_content->createInitialStreamState())
{
}

MIMEContentIStreamBuf::~MIMEContentIStreamBuf() = default;

int MIMEContentIStreamBuf::buffer_from_device(char* buffer, int count)
{
    return static_cast<int>(m_content->getData(buffer, static_cast<size_t>(count), m_state));
}

MIMEContentIStream::MIMEContentIStream(const MIME::ContentRef& content)
    : MIMEContentIStreamBase(content), PayloadIStream(&m_buffer), m_content(content)
{
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
