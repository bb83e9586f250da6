#pragma once

#include "blocxx/BLOCXX_config.h"

#include <cstddef>

namespace blocxx
{

class BaseStreamBuffer;

namespace Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// Writes past the buffer of a stream what would only pass through it on its way to a flush.
class BLOCXX_COMMON_API DirectOutput
{
public:
    explicit DirectOutput(BaseStreamBuffer& buffer) : m_buffer(buffer) {}

    /// Whether the buffer would keep as many bytes until a flush, and nothing waits before them.
    bool canWrite(std::size_t count) const;

    /// What writing the bytes and then a flush does. @return whether the device took them; outputState() tells as well
    bool write(const char* bytes, std::size_t count) const;

private:
    BaseStreamBuffer& m_buffer;
};

} // namespace Internal
} // namespace blocxx
