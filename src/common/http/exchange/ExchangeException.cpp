#include "zol/http/ExchangeException.hpp"

#include <new>

namespace ZOLNS2::HTTP
{

ExchangeException::ExchangeException(const char* file, int line, EPhase phase, ECause cause, const char* message,
                                     int systemError, int status, const blocxx::Exception* otherException) noexcept
    : Exception(file, line, message, systemError == 0 ? UNKNOWN_ERROR_CODE : systemError, otherException),
      m_phase(phase), m_cause(cause), m_systemError(systemError), m_status(status)
{
}

ExchangeException::~ExchangeException() noexcept = default;

const char* ExchangeException::type() const
{
    return "ExchangeException";
}

ExchangeException* ExchangeException::clone() const
{
    return new (std::nothrow) ExchangeException(*this);
}

void ExchangeException::rethrow() const
{
    throw ExchangeException(*this);
}

} // namespace ZOLNS2::HTTP
