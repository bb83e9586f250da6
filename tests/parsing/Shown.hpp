#pragma once

#include "support/StreamState.hpp"
#include "support/TextOf.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/http/Headers.hpp"

#include <string>

namespace parsing_test
{

using zol_test::stateOf;
using zol_test::textOf;

/// "HTTP/1.1|200"
inline std::string shown(const blocxx::Array<blocxx::String>& words)
{
    std::string text;
    for (const blocxx::String& word : words)
    {
        text += (text.empty() ? "" : "|") + textOf(word);
    }
    return text;
}

/// "a=1&b=2"
inline std::string shown(const OpenWBEM::HTTPHeaderMap& map)
{
    std::string text;
    for (const auto& [name, value] : map)
    {
        text += (text.empty() ? "" : "&") + textOf(name) + "=" + textOf(value);
    }
    return text;
}

/// "A=1&B=2"
inline std::string shown(const ZOLNS2::HTTP::Headers& headers)
{
    std::string text;
    for (const ZOLNS2::HTTP::Header& header : headers)
    {
        text += (text.empty() ? "" : "&") + textOf(header.name) + "=" + textOf(header.value);
    }
    return text;
}

} // namespace parsing_test
