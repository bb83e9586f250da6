#pragma once

#include "zol/http/HTTPException.hpp"

#include <istream>
#include <ostream>

namespace ZOLNS2::HTTP
{

/// Copies all of the body's stream to `out` and flushes.
/// @throws HTTPException if the body's stream is failed from the start
inline void writeEntityBody(std::ostream& out, std::istream& body)
{
    if (body.fail())
    {
        throw HTTPException("HTTPRequest", __LINE__, "Cannot copy request payload: stream was initially bad", -1,
                            nullptr, -1);
    }
    out << body.rdbuf();
    out.flush();
}

} // namespace ZOLNS2::HTTP
