#pragma once

#include "ExitStatus.hpp"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

namespace zolget
{

/// Ends a fetch with a status. The message says what failed, for which host or file, and what to try; when it is empty,
/// nothing is printed.
class Failure : public std::runtime_error
{
public:
    Failure(ExitStatus status, const std::string& message) : std::runtime_error(message), m_status(status) {}

    ExitStatus status() const { return m_status; }

private:
    ExitStatus m_status;
};

/// A failure that may be gone when the request is made again.
class TransientFailure : public Failure
{
public:
    /// @param retryAfter how long the server wants to be left alone
    TransientFailure(ExitStatus status, const std::string& message,
                     std::optional<std::chrono::seconds> retryAfter = std::nullopt)
        : Failure(status, message), m_retryAfter(retryAfter)
    {
    }

    std::optional<std::chrono::seconds> retryAfter() const { return m_retryAfter; }

private:
    std::optional<std::chrono::seconds> m_retryAfter;
};

} // namespace zolget
