#include "zol/http/ExchangeResponse.hpp"

#include "exchange/ExchangeUnit.hpp"
#include "exchange/ReceivedBody.hpp"
#include "exchange/WriteContent.hpp"

#include <algorithm>
#include <utility>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr size_t FIRST_BLOCK_SIZE = 16384;

[[noreturn]] void throwNotRead(const ReceivedBody& body, ExchangeException::ECause cause, const blocxx::String& text)
{
    throw ExchangeException(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_BODY, cause, text.c_str(),
                            body.systemError(), body.status());
}

void requireComplete(const ReceivedBody& body)
{
    if (body.end() != ExchangeResponse::E_COMPLETE)
    {
        throwNotRead(body, body.cause(), body.endText());
    }
}

} // namespace

ExchangeResponse::ExchangeResponse(const Head& head, const ReceivedBodyRef& body, const ExchangeConnection& connection)
    : m_head(head), m_body(body), m_connection(connection)
{
}

ExchangeResponse::ExchangeResponse(StatusLine statusLine, const Headers& headers,
                                   const MIME::ContentTypeHeader& contentType, blocxx::String url,
                                   const blocxx::String& redirectNote, const ReceivedBodyRef& body,
                                   const ExchangeConnection& connection)
    : m_head{std::move(statusLine), headers, contentType, std::move(url), redirectNote}, m_body(body),
      m_connection(connection)
{
}

ExchangeResponse::ExchangeResponse(const ExchangeResponse&) = default;
ExchangeResponse& ExchangeResponse::operator=(const ExchangeResponse&) = default;
ExchangeResponse::~ExchangeResponse() = default;

MIME::ContentRef ExchangeResponse::getContent() const
{
    return m_body;
}

ExchangeResponse::EBodyEnd ExchangeResponse::bodyEnd() const
{
    return m_body->end();
}

blocxx::String ExchangeResponse::bodyEndText() const
{
    return m_body->endText();
}

blocxx::Array<char> ExchangeResponse::readAll(std::size_t limit) const
{
    const MIME::ContentStreamStateRef state = m_body->createInitialStreamState();
    blocxx::Array<char> bytes;
    size_t size = 0;
    const size_t announced = m_body->hasContentLength() ? m_body->getContentLength() : 0;
    if (announced > limit)
    {
        throwNotRead(*m_body, ExchangeException::E_LIMIT,
                     blocxx::Format("The body of %1 bytes is larger than %2 bytes", announced, limit));
    }
    for (;;)
    {
        if (size == bytes.size())
        {
            // What a server announces is not believed before it arrives.
            bytes.resize(std::max(size + size / 2, size + FIRST_BLOCK_SIZE));
        }
        const size_t count = m_body->getData(&bytes[size], bytes.size() - size, state);
        if (count == MIME::END_OF_DATA)
        {
            break;
        }
        size += count;
        if (size > limit)
        {
            throwNotRead(*m_body, ExchangeException::E_LIMIT,
                         blocxx::Format("The body is larger than %1 bytes", limit));
        }
    }
    requireComplete(*m_body);
    bytes.resize(size);
    return bytes;
}

void ExchangeResponse::writeTo(std::ostream& out) const
{
    if (MIME::writeContent(m_body, m_body->createInitialStreamState(), out))
    {
        requireComplete(*m_body);
    }
}

} // namespace ZOLNS2::HTTP
