#pragma once

#include "blocxx/String.hpp"
#include "zol/mime/Content.hpp"

#include <limits>
#include <string>

namespace zol_test
{

inline std::string textOf(const blocxx::String& text)
{
    return {text.c_str(), text.length()};
}

/// All bytes of a content, from its beginning.
inline std::string textOf(const ZOLNS2::MIME::ContentRef& content)
{
    const blocxx::Array<char> bytes = getContentData(content, std::numeric_limits<size_t>::max());
    return {bytes.begin(), bytes.end()};
}

} // namespace zol_test
