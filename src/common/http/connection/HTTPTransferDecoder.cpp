#include "zol/http/HTTPTransferDecoder.hpp"

#include "UnitLog.hpp"
#include "connection/InputEnd.hpp"

#include "blocxx/String.hpp"

#include <utility>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr const char* SOURCE_UNIT = "HTTPTransferDecoder";
constexpr const char* MESSAGE_PREFIX = "response: ";
blocxx::GlobalString COMPONENT_NAME = BLOCXX_GLOBAL_STRING_INIT("zol.common.http");
blocxx::GlobalString TRANSFER_ENCODING = BLOCXX_GLOBAL_STRING_INIT("transfer-encoding");

} // namespace

HTTPTransferDecoder::HTTPTransferDecoder(HTTPConnection connection)
    : m_connection(std::move(connection)), m_failedBeforeBody(m_connection.istream().fail())
{
}

HTTPTransferDecoder::~HTTPTransferDecoder() = default;

bool HTTPTransferDecoder::bodyIsComplete()
{
    return !m_failedBeforeBody && inputEndedInOrder(istream());
}

ChunkedTransferDecoder::ChunkedTransferDecoder(HTTPConnection connection)
    : HTTPTransferDecoder(std::move(connection)), m_chunkedStream(getConnection().istream())
{
}

ChunkedTransferDecoder::~ChunkedTransferDecoder() = default;

std::istream& ChunkedTransferDecoder::getInputStream()
{
    return m_chunkedStream;
}

DefaultTransferDecoder::DefaultTransferDecoder(HTTPConnection connection) : HTTPTransferDecoder(std::move(connection))
{
}

DefaultTransferDecoder::~DefaultTransferDecoder() = default;

std::istream& DefaultTransferDecoder::getInputStream()
{
    return getConnection().istream();
}

HTTPTransferDecoderRef getTransferDecoder(HTTPConnection& connection, const Headers& headers)
{
    const blocxx::Logger logger(COMPONENT_NAME);
    const blocxx::String encoding = headers.getHeaderValue(TRANSFER_ENCODING);
    ZOL_LOG(logger, DEBUG2, blocxx::Format("Creating transfer decoder for transfer encoding \"%1\"", encoding));
    // Deliberately the whole value: a list, an unknown coding or surrounding blanks all mean identity.
    if (encoding.equalsIgnoreCase("chunked"))
    {
        return HTTPTransferDecoderRef(new ChunkedTransferDecoder(connection));
    }
    return HTTPTransferDecoderRef(new DefaultTransferDecoder(connection));
}

} // namespace ZOLNS2::HTTP
