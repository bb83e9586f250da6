#include "zol/http/HTTPTransferDecoder.hpp"

#include "UnitLog.hpp"
#include "connection/InputEnd.hpp"

#include "blocxx/String.hpp"

namespace ZOLNS2::HTTP
{

namespace
{

blocxx::GlobalString COMPONENT_NAME = BLOCXX_GLOBAL_STRING_INIT("zol.common.http");
constexpr LogUnit LOG_UNIT{"HTTPTransferDecoder", "response: ", COMPONENT_NAME};
blocxx::GlobalString TRANSFER_ENCODING = BLOCXX_GLOBAL_STRING_INIT("transfer-encoding");

} // namespace

HTTPTransferDecoder::HTTPTransferDecoder(HTTPConnection connection)
    : m_connection(connection), m_failedBeforeBody(m_connection.istream().fail())
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

DefaultTransferDecoder::~DefaultTransferDecoder() = default;

std::istream& DefaultTransferDecoder::getInputStream()
{
    return getConnection().istream();
}

HTTPTransferDecoderRef getTransferDecoder(HTTPConnection& connection, const Headers& headers)
{
    const OperationLog log(LOG_UNIT, __PRETTY_FUNCTION__);
    const blocxx::String encoding = headers.getHeaderValue(TRANSFER_ENCODING);
    ZOL_LOG(log, DEBUG2, blocxx::Format("Creating transfer decoder for transfer encoding \"%1\"", encoding));
    // Deliberately the whole value: a list, an unknown coding or surrounding blanks all mean identity.
    if (encoding.equalsIgnoreCase("chunked"))
    {
        return HTTPTransferDecoderRef(new ChunkedTransferDecoder(connection));
    }
    return HTTPTransferDecoderRef(new DefaultTransferDecoder(connection));
}

} // namespace ZOLNS2::HTTP
