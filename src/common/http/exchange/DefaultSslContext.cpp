#include "exchange/DefaultSslContext.hpp"

#include "exchange/ExchangeUnit.hpp"

#include "blocxx/SSLException.hpp"
#include "zol/http/ExchangeException.hpp"

namespace ZOLNS2::HTTP
{

namespace
{

Request::SSLContextRef makeVerifyingContext()
{
    try
    {
        return Request::SSLContextRef(new blocxx::SSLClientCtx);
    }
    catch (const blocxx::SSLException& error)
    {
        throw ExchangeException(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_TLS,
                                ExchangeException::E_ERROR, error.getMessage(), 0, 0, &error);
    }
}

} // namespace

Request::SSLContextRef defaultSslContext()
{
    static const Request::SSLContextRef CONTEXT = makeVerifyingContext();
    return CONTEXT;
}

} // namespace ZOLNS2::HTTP
