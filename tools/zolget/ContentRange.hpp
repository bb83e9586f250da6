#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zolget
{

/// The value of a header Content-Range in bytes.
struct ContentRange
{
    struct Bytes
    {
        std::uint64_t first;
        std::uint64_t last; ///< not below the first
    };

    std::optional<Bytes> bytes;         ///< none in a response with status 416
    std::optional<std::uint64_t> total; ///< the length of the whole document, if it is known
};

/// None for a value that is not valid (RFC 9110, section 14.4).
std::optional<ContentRange> parseContentRange(std::string_view text);

} // namespace zolget
