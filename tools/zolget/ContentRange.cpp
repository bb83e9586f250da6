#include "ContentRange.hpp"

#include "Text.hpp"

#include <charconv>

namespace zolget
{

namespace
{

/// Removes a number from the beginning of the text.
std::optional<std::uint64_t> takeNumber(std::string_view& text)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
    {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

/// Removes the prefix if it is there.
bool take(std::string_view& text, std::string_view prefix)
{
    if (!equalsIgnoringCase(text.substr(0, prefix.size()), prefix))
    {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

/// incl-range = first-pos "-" last-pos
std::optional<ContentRange::Bytes> takeBytes(std::string_view& text)
{
    const auto first = takeNumber(text);
    if (!first || !take(text, "-"))
    {
        return std::nullopt;
    }
    const auto last = takeNumber(text);
    return last && *last >= *first ? std::optional<ContentRange::Bytes>({*first, *last}) : std::nullopt;
}

} // namespace

// Content-Range     = range-unit SP ( range-resp / unsatisfied-range )
// range-resp        = incl-range "/" ( complete-length / "*" )
// unsatisfied-range = "*/" complete-length                             (RFC 9110, section 14.4)
std::optional<ContentRange> parseContentRange(std::string_view text)
{
    ContentRange range;
    if (!take(text, "bytes "))
    {
        return std::nullopt;
    }
    const bool isUnsatisfied = take(text, "*");
    if (!isUnsatisfied)
    {
        range.bytes = takeBytes(text);
        if (!range.bytes)
        {
            return std::nullopt;
        }
    }
    if (!take(text, "/"))
    {
        return std::nullopt;
    }
    if (isUnsatisfied || !take(text, "*"))
    {
        range.total = takeNumber(text);
        if (!range.total || (range.bytes && range.bytes->last >= *range.total))
        {
            return std::nullopt;
        }
    }
    return text.empty() ? std::optional<ContentRange>(range) : std::nullopt;
}

} // namespace zolget
