#pragma once

#include <cxxabi.h>

namespace blocxx::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// Returns what `call` returns. If that throws, returns what `handle` returns: it runs inside the handler, so `throw;`
/// passes the exception on. The unwinding of a cancelled thread is not handled but passes: the
/// process would abort if it were stopped. What unwinds is no C++ object, so the handler's reference binds to null, which
/// a sanitizer must not report.
template <class Call, class Handle>
__attribute__((no_sanitize("undefined"))) auto catchAllButUnwind(const Call& call, const Handle& handle)
    -> decltype(call())
{
    try
    {
        return call();
    }
    catch (const abi::__forced_unwind&)
    {
        throw;
    }
    catch (...)
    {
        return handle();
    }
}

} // namespace blocxx::Internal
