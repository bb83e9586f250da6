#include "exchange/Refusal.hpp"

#include "exchange/ExchangeUnit.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/mime/ContentException.hpp"

namespace ZOLNS2::MIME
{

void refuseContent(const blocxx::String& message, int line)
{
    throw ContentException(HTTP::ExchangeUnit::SOURCE_UNIT, line, message.c_str());
}

void refuseContentWithErrno(const blocxx::String& message, int error, int line)
{
    throw blocxx::ExceptionDetail::Errno<ContentException>::format(HTTP::ExchangeUnit::SOURCE_UNIT, line, message,
                                                                   error);
}

} // namespace ZOLNS2::MIME

namespace ZOLNS2::HTTP
{

void refuseRequest(const blocxx::String& message, int line)
{
    throw ExchangeException(ExchangeUnit::SOURCE_UNIT, line, ExchangeException::E_URL, ExchangeException::E_MALFORMED,
                            message.c_str());
}

} // namespace ZOLNS2::HTTP
