#pragma once

#include "zol/http/Headers.hpp"

#include <string>

namespace zolget
{

/// What tells this version of a document from every other one, as it is to be sent in If-Range (RFC 9110, section
/// 13.1.5): a strong entity tag, or a modification date that is strong (section 8.8.2.2). Empty if the response has none.
std::string strongValidatorOf(const ZOLNS2::HTTP::Headers& headers);

/// Whether the text has the form of such a validator.
bool isStrongValidator(const std::string& text);

} // namespace zolget
