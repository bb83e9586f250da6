#pragma once

#include "zol/http.hpp"

#include <cstddef>

namespace zolget
{

/// Another content with a type of its own, delivered in exactly the length announced for it: bytes beyond that length
/// are left out, and an early end is a bad one.
class FixedLengthContent : public ZOLNS2::MIME::Content, public ZOLNS2::MIME::ContentEnd
{
public:
    /// @param length bytes
    FixedLengthContent(const ZOLNS2::MIME::ContentRef& content, const ZOLNS2::MIME::ContentTypeHeader& type,
                       std::size_t length);

    ZOLNS2::MIME::ContentTypeHeader getContentType() override;
    bool hasContentLength() override;
    std::size_t getContentLength() override;
    std::size_t getData(char* buffer, std::size_t size, const ZOLNS2::MIME::ContentStreamStateRef& state) override;
    ZOLNS2::MIME::ContentStreamStateRef createInitialStreamState() const override;
    bool endedBadly(const ZOLNS2::MIME::ContentStreamStateRef& state) const override;

    /// True once a reader has read the announced length.
    bool wasReadWhole() const { return m_wasReadWhole; }

private:
    ZOLNS2::MIME::ContentRef m_content;
    ZOLNS2::MIME::ContentTypeHeader m_type;
    std::size_t m_length;
    bool m_wasReadWhole = false;
};

using FixedLengthContentRef = blocxx::IntrusiveReference<FixedLengthContent>;

} // namespace zolget
