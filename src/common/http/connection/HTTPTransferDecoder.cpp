#include "zol/http/HTTPTransferDecoder.hpp"

#include "UnitLog.hpp"
#include "connection/HTTPConnectionImpl.hpp"
#include "connection/InputEnd.hpp"
#include "connection/TransferCoding.hpp"
#include "message/HeaderStore.hpp"

#include "blocxx/String.hpp"

namespace ZOLNS2::HTTP
{

namespace
{

blocxx::GlobalString COMPONENT_NAME = BLOCXX_GLOBAL_STRING_INIT("zol.common.http");
constexpr LogUnit LOG_UNIT{"HTTPTransferDecoder", "response: ", COMPONENT_NAME};

} // namespace

HTTPTransferDecoder::HTTPTransferDecoder(HTTPConnection connection)
    : m_connection(connection), m_failedBeforeBody(HTTPConnectionImpl::of(m_connection).fail())
{
}

HTTPTransferDecoder::HTTPTransferDecoder(const HTTPConnection& connection, bool failedBeforeBody)
    : m_connection(connection), m_failedBeforeBody(failedBeforeBody)
{
}

HTTPTransferDecoder::~HTTPTransferDecoder() = default;

bool HTTPTransferDecoder::bodyIsComplete()
{
    return !m_failedBeforeBody && inputEndedInOrder(istream());
}

ChunkedTransferDecoder::ChunkedTransferDecoder(HTTPConnection connection)
    : HTTPTransferDecoder(connection), m_chunkedStream(getConnection().istream())
{
}

ChunkedTransferDecoder::~ChunkedTransferDecoder() = default;

std::istream& ChunkedTransferDecoder::getInputStream()
{
    return m_chunkedStream;
}

DefaultTransferDecoder::DefaultTransferDecoder(HTTPConnection connection) : HTTPTransferDecoder(connection) {}

DefaultTransferDecoder::DefaultTransferDecoder(const HTTPConnection& connection, bool failedBeforeBody)
    : HTTPTransferDecoder(connection, failedBeforeBody)
{
}

DefaultTransferDecoder::~DefaultTransferDecoder() = default;

std::istream& DefaultTransferDecoder::getInputStream()
{
    return getConnection().istream();
}

const blocxx::String* transferEncodingOf(const Headers& headers)
{
    return HeaderStore::find(headers, "transfer-encoding");
}

bool isChunked(const blocxx::String* encoding)
{
    // Deliberately the whole value: a list, an unknown coding or surrounding blanks all mean identity.
    return encoding != nullptr && encoding->equalsIgnoreCase("chunked");
}

HTTPTransferDecoderRef getTransferDecoder(HTTPConnection& connection, const Headers& headers)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    const blocxx::String* const encoding = transferEncodingOf(headers);
    ZOL_LOG(log, DEBUG2,
            blocxx::Format("Creating transfer decoder for transfer encoding \"%1\"",
                           encoding == nullptr ? blocxx::String() : *encoding));
    if (isChunked(encoding))
    {
        return HTTPTransferDecoderRef(new ChunkedTransferDecoder(connection));
    }
    return HTTPTransferDecoderRef(new DefaultTransferDecoder(connection));
}

} // namespace ZOLNS2::HTTP
