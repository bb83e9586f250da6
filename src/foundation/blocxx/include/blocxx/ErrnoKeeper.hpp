#pragma once

#include <cerrno>

namespace blocxx
{

/// Restores errno when the scope ends, also when it ends by an exception: a log statement never changes the errno that
/// the code around it sees. Use it as a local object; it belongs to the thread that made it.
class ErrnoKeeper
{
public:
    ErrnoKeeper() noexcept : m_errno(errno) {}
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;
    ~ErrnoKeeper() { errno = m_errno; }

private:
    const int m_errno;
};

} // namespace blocxx
