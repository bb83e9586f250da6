#pragma once

#include "blocxx/Exception.hpp"
#include "zol/Export.hpp"

namespace ZOLNS2::HTTP
{

/// What the messages, the connection and the reading of responses throw. The error code is -1, except for a response
/// whose status is outside 200 to 299: there it is the status code. The subclass id is -1.
///
/// @code
/// catch (const HTTP::HTTPException& failure)
/// {
///     return failure.getErrorCode() == 404 ? MISSING : FAILED;
/// }
/// @endcode
BLOCXX_DECLARE_APIEXCEPTION(HTTP, ZOL_API)

} // namespace ZOLNS2::HTTP
