#pragma once

#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

#include <vector>

namespace zolget
{

/// Several contents one after the other, as one of the type application/octet-stream.
class JoinedContent : public ZOLNS2::MIME::Content, public ZOLNS2::MIME::ContentEnd
{
public:
    explicit JoinedContent(std::vector<ZOLNS2::MIME::ContentRef> contents);
    ~JoinedContent() override;

    ZOLNS2::MIME::ContentTypeHeader getContentType() override;

    /// Whether every one of them knows its length.
    bool hasContentLength() override;
    std::size_t getContentLength() override;

    std::size_t getData(char* buffer, std::size_t size, const ZOLNS2::MIME::ContentStreamStateRef& state) override;
    ZOLNS2::MIME::ContentStreamStateRef createInitialStreamState() const override;
    bool endedBadly(const ZOLNS2::MIME::ContentStreamStateRef& state) const override;

private:
    std::vector<ZOLNS2::MIME::ContentRef> m_contents;
};

} // namespace zolget
