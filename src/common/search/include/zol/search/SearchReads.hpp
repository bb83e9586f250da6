#pragma once

#include "zol/Export.hpp"

#include <cstddef>
#include <iosfwd>

/// How the stream search reads: in blocks, and leaving a stream that ends, fails or throws as reads of single
/// characters would, its count of the last read aside. The caller holds the stream's sentry.
namespace ZOLNS2::SearchDetail
{

/// Has the stream's buffer fetch more, if it holds nothing. False when nothing more came.
ZOL_API bool refill(std::istream& in);

/// Reads what the `size` bytes at `bytes` lack behind the first `filled`, which grows by what came. False when the
/// stream ended or failed first. What a buffer already holds is taken first, so that nothing is lost in one that throws
/// while it refills.
ZOL_API bool fill(std::istream& in, char* bytes, std::size_t size, std::size_t& filled);

} // namespace ZOLNS2::SearchDetail
