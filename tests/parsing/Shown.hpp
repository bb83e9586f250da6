#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/http/Headers.hpp"

#include <ios>
#include <string>

namespace parsing_test
{

inline std::string textOf(const blocxx::String& text)
{
    return std::string(text.c_str(), text.length());
}

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

/// "good", or those of E (eofbit), F (failbit) and B (badbit) that are set.
inline std::string stateOf(const std::ios& stream)
{
    const std::string bits = std::string(stream.eof() ? "E" : "") +
                             ((stream.rdstate() & std::ios_base::failbit) != 0 ? "F" : "") + (stream.bad() ? "B" : "");
    return bits.empty() ? "good" : bits;
}

} // namespace parsing_test
