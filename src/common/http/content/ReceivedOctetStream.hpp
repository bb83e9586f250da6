#pragma once

#include "content/StoredBytes.hpp"

#include "zol/mime/OctetStreamContent.hpp"

#include <memory>
#include <utility>

namespace ZOLNS2::MIME
{

/// Makes octet streams of bytes that were received into memory; the bytes stay where they were received.
class ReceivedOctetStream
{
public:
    static ContentRef make(StoredBytes bytes)
    {
        return ContentRef(new ApplicationOctetStreamContent(std::make_shared<const StoredBytes>(std::move(bytes))));
    }
};

} // namespace ZOLNS2::MIME
