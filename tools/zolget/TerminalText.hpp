#pragma once

#include <string>
#include <string_view>

namespace zolget
{

/// Makes text safe to print on a terminal: bytes that could be a command to it are written as "\x1b" is. These are the
/// control characters C0, DEL and C1 (ECMA-48), the latter as single bytes and encoded in UTF-8, and whatever is not
/// UTF-8. All other characters stay.
///
/// Everything that goes to standard error, and the heads that go to standard output, pass through it; bodies do not.
std::string printable(std::string_view text);

} // namespace zolget
