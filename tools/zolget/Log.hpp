#pragma once

#include "blocxx/LogAppender.hpp"

#include <atomic>

namespace zolget
{

/// Notices that the library dropped a part of a multipart body: it does so for types that it has no content for, and
/// tells it to the log only.
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

/// Starts to watch the library's log records, and sends them to standard error as well: with a verbosity of 1 all but
/// the finest, with more all of them.
DroppedPartsRef startLog(int verbosity);

} // namespace zolget
