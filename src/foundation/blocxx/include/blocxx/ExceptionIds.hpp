#pragma once

#include "blocxx/BLOCXX_config.h"

/// The subclass ids of the exception classes.
namespace blocxx::ExceptionIds
{

enum EExceptionIds : int
{
    HTTPExceptionId = -3,
    XMLParseExceptionId = -4,
    AssertionExceptionId = -5,
    ValueCastExceptionId = -6,
    AuthenticationExceptionId = -7,
    UnknownHostExceptionId = -9,
    SocketAddressExceptionId = -10,
    SocketExceptionId = -11,
    SocketTimeoutExceptionId = -12,
    ConditionLockExceptionId = -13,
    ConditionResourceExceptionId = -14,
    ConfigExceptionId = -15,
    NULLCOWReferenceExceptionId = -16,
    DateTimeExceptionId = -17,
    EnumerationExceptionId = -18,
    ExecTimeoutExceptionId = -19,
    ExecBufferFullExceptionId = -20,
    ExecErrorExceptionId = -21,
    IOExceptionId = -22,
    BadSignatureExceptionId = -23,
    LoggerExceptionId = -24,
    DeadlockExceptionId = -25,
    NoSuchPropertyExceptionId = -26,
    NoSuchProviderExceptionId = -27,
    NoSuchQualifierExceptionId = -28,
    NULLValueExceptionId = -29,
    ContextDataNotFoundExceptionId = -30,
    OutOfBoundsExceptionId = -31,
    FileSystemExceptionId = -32,
    RWLockerExceptionId = -33,
    NULLReferenceExceptionId = -34,
    SelectExceptionId = -35,
    SharedLibraryExceptionId = -36,
    StringConversionExceptionId = -37,
    TimeoutExceptionId = -38,
    ThreadExceptionId = -39,
    CancellationDeniedExceptionId = -40,
    ThreadBarrierExceptionId = -41,
    MalformedURLExceptionId = -42,
    UUIDExceptionId = -43,
    UnnamedPipeExceptionId = -44,
    InvalidUTF8ExceptionId = -45,
    CmdLineParserExceptionId = -46,
    NULLCOWIntrusiveReferenceExceptionId = -47,
    LogMessagePatternFormatterExceptionId = -48,
    CryptographicRandomNumberExceptionId = -50,
    SSLExceptionId = -51,
    GenericRWLockImplExceptionId = -52,
    FormatExceptionId = -53,
    MD5ExceptionId = -1003,
    IPCMutexExceptionId = -5001,
    RegExCompileExceptionId = -5002,
    RegExExecuteExceptionId = -5003
};

} // namespace blocxx::ExceptionIds
