#include "Validator.hpp"

#include "HttpDate.hpp"
#include "StringView.hpp"

#include <algorithm>

namespace zolget
{

namespace
{

// entity-tag = [ weak ] opaque-tag
// opaque-tag = DQUOTE *etagc DQUOTE
// etagc      = %x21 / %x23-7E / obs-text        (RFC 9110, section 8.8.3)
bool isStrongEntityTag(const std::string& text)
{
    const auto isTagCharacter = [](char c)
    {
        const auto byte = static_cast<unsigned char>(c);
        return byte > 0x20 && byte != '"' && byte != 0x7f;
    };
    return text.size() >= 2 && text.front() == '"' && text.back() == '"' &&
           std::all_of(text.begin() + 1, text.end() - 1, isTagCharacter);
}

} // namespace

bool isStrongValidator(const std::string& text)
{
    return isStrongEntityTag(text) || parseHttpDate(text).has_value();
}

std::string strongValidatorOf(const ZOLNS2::HTTP::Headers& headers)
{
    const std::string tag = toStdString(headers.getHeaderValue("ETag"));
    if (!tag.empty())
    {
        return isStrongEntityTag(tag) ? tag : std::string();
    }
    const std::string modified = toStdString(headers.getHeaderValue("Last-Modified"));
    const auto modifiedAt = parseHttpDate(modified);
    const auto sentAt = parseHttpDate(toStdString(headers.getHeaderValue("Date")));
    // The document could change again within the second that the date names.
    return modifiedAt && sentAt && *sentAt > *modifiedAt ? modified : std::string();
}

} // namespace zolget
