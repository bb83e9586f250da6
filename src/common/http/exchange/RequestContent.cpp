#include "exchange/RequestContent.hpp"

#include "exchange/ExchangeUnit.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/internal/ForcedUnwind.hpp"
#include "zol/http/ExchangeException.hpp"

#include <algorithm>
#include <climits>
#include <new>

namespace ZOLNS2::HTTP
{

namespace
{

// A content that never ends must not hold the request for ever.
constexpr size_t MOST_EMPTY_READS = 64;

[[noreturn]] void throwFailed(ExchangeException::ECause cause, const blocxx::String& reason,
                              const blocxx::Exception* exception = nullptr)
{
    throw ExchangeException(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_SEND, cause,
                            blocxx::Format("The content of the request failed: %1", reason).c_str(), 0, 0, exception);
}

/// To be called while what the content threw is handled.
[[noreturn]] void throwTranslated()
{
    try
    {
        throw;
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (const blocxx::Exception& exception)
    {
        throwFailed(ExchangeException::E_ERROR, exception.getMessage(), &exception);
    }
    catch (const std::exception& exception)
    {
        throwFailed(ExchangeException::E_ERROR, exception.what());
    }
    catch (...)
    {
        throwFailed(ExchangeException::E_ERROR, "an exception of an unknown type");
    }
}

/// What a content throws, as an exception of the exchange.
template <class Call>
auto translated(const Call& call) -> decltype(call())
{
    return blocxx::Internal::catchAllButUnwind(call, []() -> decltype(call()) { throwTranslated(); });
}

} // namespace

std::unique_ptr<RequestContent> RequestContent::of(const MIME::ContentRef& content)
{
    return translated([&] { return std::make_unique<RequestContent>(content); });
}

RequestContent::~RequestContent() = default;

size_t RequestContent::read(char* buffer, size_t room)
{
    size_t got = 0;
    while (got < room && !reachedEndOfData())
    {
        got += readOnce(buffer + got, room - got);
        if (inputState() == E_INPUT_FAILED)
        {
            throwFailed(ExchangeException::E_CUT, inputErrorText());
        }
        if (emptyReads() >= MOST_EMPTY_READS)
        {
            throwFailed(ExchangeException::E_CUT,
                        blocxx::Format("it had nothing for %1 reads in a row", MOST_EMPTY_READS));
        }
    }
    return got;
}

size_t RequestContent::readOnce(char* buffer, size_t room)
{
    const int count =
        translated([&] { return buffer_from_device(buffer, static_cast<int>(std::min<size_t>(room, INT_MAX))); });
    return count > 0 ? static_cast<size_t>(count) : 0;
}

} // namespace ZOLNS2::HTTP
