#pragma once

#include "blocxx/IntrusiveReference.hpp"

/// Names for headers that only mention a type.
namespace blocxx
{

class Exception;
class Format;
class LogAppender;
class Logger;
class SSLClientCtx;
class String;
class StringBuffer;
template <class T>
class Array;

/// Strings in order.
using StringArray = Array<String>;
/// A counted handle to a logger.
using LoggerRef = IntrusiveReference<Logger>;
/// A counted handle to an appender.
using LogAppenderRef = IntrusiveReference<LogAppender>;
/// A counted handle to a TLS context; null for plain TCP.
using SSLClientCtxRef = IntrusiveReference<SSLClientCtx>;

} // namespace blocxx
