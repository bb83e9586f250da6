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

using StringArray = Array<String>;
using LoggerRef = IntrusiveReference<Logger>;
using LogAppenderRef = IntrusiveReference<LogAppender>;
using SSLClientCtxRef = IntrusiveReference<SSLClientCtx>;

} // namespace blocxx
