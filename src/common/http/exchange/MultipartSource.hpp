#pragma once

#include "blocxx/String.hpp"
#include "zol/http/ExchangeException.hpp"
#include "zol/mime/Content.hpp"

#include <cstddef>
#include <iosfwd>
#include <memory>

namespace ZOLNS2::MIME
{

/// Where the bytes of a multipart body come from.
class MultipartSource
{
public:
    virtual ~MultipartSource() = default;

    /// At most `room` bytes; 0 at the end.
    virtual std::size_t read(char* to, std::size_t room) = 0;

    /// Once it has ended: why that was a bad end. E_CUT with an empty text for an orderly one.
    virtual HTTP::ExchangeException::ECause cause(blocxx::String& text) const = 0;
};

/// A reading of a content.
/// @throws what the content throws when it is asked for a reading
std::unique_ptr<MultipartSource> multipartSource(const ContentRef& content);

/// What is left of a stream, which must outlive the source.
std::unique_ptr<MultipartSource> multipartSource(std::istream& stream);

} // namespace ZOLNS2::MIME
