#pragma once

#include "Deadline.hpp"

#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

namespace zolget
{

/// What standard input holds, to be read once; of the type application/octet-stream and without length.
class StandardInputContent : public ZOLNS2::MIME::Content, public ZOLNS2::MIME::ContentEnd
{
public:
    /// @param deadline for waiting
    explicit StandardInputContent(const Deadline& deadline) : m_deadline(deadline) {}
    ~StandardInputContent() override;

    ZOLNS2::MIME::ContentTypeHeader getContentType() override;
    bool hasContentLength() override { return false; }
    std::size_t getContentLength() override;

    /// Waits for the first byte only. Throws ContentException if standard input cannot be read; with the code ETIMEDOUT
    /// if the deadline has passed.
    std::size_t getData(char* buffer, std::size_t size, const ZOLNS2::MIME::ContentStreamStateRef& state) override;

    /// Throws ContentException on the second call.
    ZOLNS2::MIME::ContentStreamStateRef createInitialStreamState() const override;
    bool endedBadly(const ZOLNS2::MIME::ContentStreamStateRef& state) const override;

private:
    void waitForInput() const;

    Deadline m_deadline;
    mutable bool m_isBegun = false;
    bool m_hasEnded = false;
};

} // namespace zolget
