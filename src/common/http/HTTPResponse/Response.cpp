#include "zol/http/Response.hpp"

#include "HTTPResponse/SourceUnit.hpp"

namespace ZOLNS2::HTTP
{

using namespace HTTPResponseUnit;

namespace
{

blocxx::GlobalString DEFAULT_TYPE = BLOCXX_GLOBAL_STRING_INIT("Content-type: application/octet-stream");

} // namespace

Response::Response() : currentPart(0)
{
    contentType.setContentTypeString(DEFAULT_TYPE);
}

MIME::ContentRef Response::getNextPart()
{
    if (currentPart < contents.size())
    {
        return contents[currentPart++];
    }
    return MIME::ContentRef();
}

blocxx::Array<char> Response::convertToByteArray(const blocxx::StringBuffer& buffer)
{
    // Deliberate: the zero bytes are not overwritten, the characters stand behind them.
    blocxx::Array<char> bytes(buffer.length() + 1, '\0');
    bytes.insert(bytes.end(), buffer.c_str(), buffer.c_str() + buffer.length());
    return bytes;
}

namespace
{

/// Runs one step of reading a response; a blocxx exception that leaves it is logged on its way out.
template <typename Step>
void logFailures(const blocxx::Logger& logger, const Step& step)
{
    try
    {
        step();
    }
    catch (const blocxx::Exception& e)
    {
        ZOL_LOG(logger, ERROR, blocxx::Format("Error retrieving http response: %1", e));
        throw;
    }
}

} // namespace

Response getResponse(HTTPConnection& conn)
{
    const blocxx::Logger logger(COMPONENT_NAME);
    Response response;
    logFailures(logger,
                [&]
                {
                    response.checkStatus(conn);
                    response.parseResponseData(conn);
                });
    return response;
}

std::istream& operator>>(std::istream& istr, Response& response)
{
    const blocxx::Logger logger(COMPONENT_NAME);
    logFailures(logger,
                [&]
                {
                    response.checkStatus(istr);
                    response.parseResponseData(istr);
                });
    return istr;
}

} // namespace ZOLNS2::HTTP
