#pragma once

#include "zol/http/Url.hpp"

#include <string>

namespace zolget
{

/// The last segment of the URL's path as the name of a file, its percent-encoding undone. Throws Failure (USAGE) if there
/// is none, or if it would not be the name of a file in the current folder.
std::string fileNameOf(const ZOLNS2::HTTP::Url& url);

} // namespace zolget
