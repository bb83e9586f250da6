#pragma once

#include "zol/mime/Content.hpp"

#include <cstddef>
#include <string>

namespace zol_test
{

/// What one getData() call delivers, or "END".
inline std::string readOnce(const ZOLNS2::MIME::ContentRef& content, std::size_t length,
                            const ZOLNS2::MIME::ContentStreamStateRef& state)
{
    std::string buffer(length, '\0');
    const std::size_t count = content->getData(buffer.data(), length, state);
    return count == ZOLNS2::MIME::END_OF_DATA ? "END" : buffer.substr(0, count);
}

} // namespace zol_test
