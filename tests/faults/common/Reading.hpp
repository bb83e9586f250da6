#pragma once

#include "zol/http/ExchangeResponse.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/Content.hpp"

#include <functional>
#include <optional>
#include <string>

/// Reads what was fetched as a careful program would.
namespace zol_faults
{

/// What bytesOf() does next time when the first bytes have come, and there may be more.
void onceInTheMiddle(const std::function<void()>& action);

/// All bytes of a content. Nothing if it neither delivers nor ends.
std::optional<std::string> bytesOf(const ZOLNS2::MIME::ContentRef& content);

/// The bytes of all contents of a response; nothing if it is not complete.
std::optional<std::string> wholeOf(const ZOLNS2::HTTP::Response& response);

/// The body; nothing if it is not complete.
std::optional<std::string> wholeOf(const ZOLNS2::HTTP::ExchangeResponse& response);

/// The parts of a multipart body, as MultipartReader reads them.
std::string partsOf(const ZOLNS2::MIME::ContentRef& body);

} // namespace zol_faults
