#pragma once

#include "exchange/TimeLimit.hpp"

#include "blocxx/String.hpp"
#include "zol/http/ExchangeException.hpp"
#include "zol/http/ExchangeOptions.hpp"

namespace ZOLNS2::HTTP
{

/// What ends an exchange from outside: its deadline, and whoever cancels it. Its body keeps a copy.
class ExchangeGuard
{
public:
    /// A relative deadline starts now.
    explicit ExchangeGuard(const ExchangeOptions& options);

    bool isCancelled() const { return m_cancellation && m_cancellation->isCancelled(); }
    const std::optional<blocxx::Cancellation>& cancellation() const { return m_cancellation; }
    const TimeLimit& deadline() const { return m_deadline; }

    /// What bounds a phase that begins now: its own time, or the deadline if that is earlier.
    TimeLimit within(const blocxx::Timeout& phaseTimeout) const
    {
        const TimeLimit limit(phaseTimeout);
        return earlier(limit, m_deadline);
    }

    /// Whether the exchange is over, whatever could still be read.
    bool hasEnded() const { return isCancelled() || m_deadline.expired(); }

    /// What a failure is, whose `errno` and device text are given: the guard's own reasons come first.
    ExchangeException::ECause causeOf(int error, const blocxx::String& text) const;

    /// "cancelled", "not done by its deadline (2 seconds)"; empty for the other causes.
    blocxx::String describe(ExchangeException::ECause cause) const;

private:
    TimeLimit m_deadline;
    blocxx::Timeout m_deadlineAsSet;
    std::optional<blocxx::Cancellation> m_cancellation;
};

} // namespace ZOLNS2::HTTP
