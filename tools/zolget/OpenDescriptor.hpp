#pragma once

#include <unistd.h>

#include <utility>

namespace zolget
{

/// Owns a file descriptor.
class OpenDescriptor
{
public:
    explicit OpenDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    OpenDescriptor(OpenDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    OpenDescriptor& operator=(OpenDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~OpenDescriptor()
    {
        if (m_descriptor >= 0)
        {
            ::close(m_descriptor);
        }
    }

    int get() const { return m_descriptor; }

    /// Closes; false if that failed, with `errno`.
    bool close()
    {
        const int descriptor = std::exchange(m_descriptor, -1);
        return descriptor < 0 || ::close(descriptor) == 0;
    }

private:
    int m_descriptor;
};

} // namespace zolget
