#pragma once

#include "support/ScriptedServer.hpp"

#include <string>

namespace zol_test
{

/// More than the kernel keeps for a peer that does not read.
inline const std::string LARGE(16U << 20, 'x');

inline int sizeOf(const std::string& text)
{
    return static_cast<int>(text.size());
}

/// With small kernel buffers, so that a peer that does not read soon stops a writer.
inline ScriptedServer::Options withSmallBuffers(ScriptedServer::Options options)
{
    options.receiveBufferSize = 128 * 1024;
    return options;
}

} // namespace zol_test
