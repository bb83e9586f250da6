#pragma once

#include "content/ReceivedBytes.hpp"

#include "zol/mime/OctetStreamContent.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// An octet stream of bytes that were received into memory; they stay where they were received.
class ReceivedOctetStream : public MIME::ApplicationOctetStreamContent
{
public:
    explicit ReceivedOctetStream(MIME::StoredBytes bytes);
    ~ReceivedOctetStream() override;

    size_t getContentLength() override;
    size_t getData(char* buf, size_t len, const MIME::ContentStreamStateRef& state) override;

private:
    const MIME::StoredBytes m_bytes;
};

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
