#include "exchange/RecentRequest.hpp"

#include "exchange/ExtraFields.hpp"
#include "exchange/Text.hpp"
#include "message/HeaderStore.hpp"
#include "message/WireText.hpp"

namespace ZOLNS2::HTTP
{

void RecentRequest::remember(const Request& request, const Url& url)
{
    m_url.reset(); // whatever memory there is for the rest
    m_request = request;
    m_urlText.erase();
    m_head.clear();
    m_url = url;
}

RecentRequest* RecentRequest::ifSame(const Request& request)
{
    if (!m_url || request.getContent() || !HeaderStore::areShared(request.getHeaders(), m_request->getHeaders()))
    {
        return nullptr;
    }
    const RequestLine& line = request.getRequestLine();
    const RequestLine& recent = m_request->getRequestLine();
    const bool isSame = request.getSSLContext() == m_request->getSSLContext() && line.version == recent.version &&
                        line.requestURI == recent.requestURI && line.url == recent.url && line.method == recent.method;
    return isSame ? this : nullptr;
}

const blocxx::String& RecentRequest::urlText()
{
    if (m_urlText.empty())
    {
        m_urlText = m_url->toString();
    }
    return m_urlText;
}

std::string_view RecentRequest::head(const ExchangeOptions& options)
{
    if (m_head.empty() || m_decompresses != options.decompress)
    {
        const blocxx::String extra = extraFields(*m_request, options, false);
        const RequestLine& line = m_request->getRequestLine();
        m_head.resize(wireSizeOfHead(line, m_request->getHeaders(), viewOf(extra)));
        writeWireHead(m_head.data(), line, m_request->getHeaders(), viewOf(extra));
        m_decompresses = options.decompress;
    }
    return m_head;
}

} // namespace ZOLNS2::HTTP
