#pragma once

#include "zol/http/MIMEContentIStream.hpp"
#include "zol/mime/Content.hpp"

#include <cstddef>
#include <memory>

namespace ZOLNS2::HTTP
{

/// One reading of the content of a request. What the content throws becomes an ExchangeException of the phase E_SEND that
/// carries it; `bad_alloc` passes as it is.
class RequestContent : private MIMEContentIStreamBuf
{
public:
    /// @throws ExchangeException if the content throws when it is asked for another reading
    static std::unique_ptr<RequestContent> of(const MIME::ContentRef& content);

    explicit RequestContent(const MIME::ContentRef& content) : MIMEContentIStreamBuf(content) {}
    ~RequestContent() override;

    /// Fills the room. @return the bytes read; fewer than `room` only at the orderly end of the content
    /// @throws ExchangeException if the content throws, ends badly, or has nothing for 64 reads in a row
    size_t read(char* buffer, size_t room);

private:
    size_t readOnce(char* buffer, size_t room);
};

} // namespace ZOLNS2::HTTP
