#pragma once

#include "blocxx/internal/CancellationOff.hpp"

#include <unistd.h>

#include <utility>

namespace blocxx
{

/// Owns an open file descriptor, or none.
class FileDescriptor
{
public:
    explicit FileDescriptor(int descriptor = -1) noexcept : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() { close(); }

    int get() const noexcept { return m_descriptor; }
    bool isOpen() const noexcept { return m_descriptor >= 0; }

    /// Closes once: after an interrupted close(2) the number may already belong to someone else.
    void close() noexcept
    {
        if (isOpen())
        {
            const Internal::CancellationOff closing;
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    int m_descriptor;
};

} // namespace blocxx
