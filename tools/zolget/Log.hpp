#pragma once

#include "blocxx/LogAppender.hpp"

#include <atomic>

namespace zolget
{

/// Notices when the library drops a part of a multipart body. It does so for types that it has no content for, and
/// only a log record shows it.
class DroppedParts : public blocxx::LogAppender
{
public:
    DroppedParts();

    bool seen() const { return m_seen; }

private:
    void doProcessLogMessage(const blocxx::String& text, const blocxx::LogMessage& message) const override;

    mutable std::atomic<bool> m_seen{false};
};

using DroppedPartsRef = blocxx::IntrusiveReference<DroppedParts>;

/// Starts to watch the library's log records. With a verbosity of 1 it also writes those up to DEBUG2 to standard
/// error, with a higher one all of them.
DroppedPartsRef startLog(int verbosity);

} // namespace zolget
