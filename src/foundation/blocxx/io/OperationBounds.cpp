#include "io/OperationBounds.hpp"

#include <cerrno>

namespace blocxx
{

void OperationBounds::setDeadline(const Timeout& timeout)
{
    m_deadline = Deadline(timeout);
    m_deadlineExpired = false;
}

int OperationBounds::reached()
{
    if (isCancelled())
    {
        return ECANCELED;
    }
    if (m_deadline.expired())
    {
        m_deadlineExpired = true;
        return ETIMEDOUT;
    }
    return 0;
}

} // namespace blocxx
