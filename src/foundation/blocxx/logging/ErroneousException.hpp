#pragma once

#include <exception>

namespace blocxx
{

class Exception;

/// Logs an exception that cannot be delivered; the log that ExceptionDetail::setErroneousExceptionLog is given.
void writeErroneousException(const char* description, const Exception* own, const std::exception* standard);

} // namespace blocxx
