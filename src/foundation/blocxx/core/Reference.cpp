#include "blocxx/Reference.hpp"

#include "blocxx/String.hpp"

#include <cxxabi.h>

#include <cstdlib>

namespace blocxx::ReferenceDetail
{

namespace
{

String readableName(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                      &std::free);
    return name == nullptr ? type.name() : name.get();
}

/// Exceptions of known types get a colon of their own after the description.
const char* separatorOfCurrentException() noexcept
{
    try
    {
        throw;
    }
    catch (const std::exception&)
    {
        return ":";
    }
    catch (...)
    {
        return "";
    }
}

} // namespace

void logThrowingDestructor(const std::type_info& reference, const std::type_info& object) noexcept
{
    try
    {
        const String description = "Exception caught in decRef() for " + readableName(reference) +
                                   " with runtime type Reference<" + readableName(object) + ">" +
                                   separatorOfCurrentException();
        ExceptionDetail::logCurrentException(description.c_str());
    }
    catch (...) // NOLINT(bugprone-empty-catch): no memory is left to report with.
    {
    }
}

} // namespace blocxx::ReferenceDetail
