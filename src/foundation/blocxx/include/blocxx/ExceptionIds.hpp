#pragma once

#include "blocxx/BLOCXX_config.h"

/// The subclass ids of the exception classes.
namespace blocxx::ExceptionIds
{

/// The subclass ids. A number is never changed or used again.
enum EExceptionIds : int
{
    UnknownHostExceptionId = -9,
    SocketExceptionId = -11,
    IOExceptionId = -22,
    LoggerExceptionId = -24,
    OutOfBoundsExceptionId = -31,
    NULLReferenceExceptionId = -34,
    StringConversionExceptionId = -37,
    LogMessagePatternFormatterExceptionId = -48,
    SSLExceptionId = -51
};

} // namespace blocxx::ExceptionIds
