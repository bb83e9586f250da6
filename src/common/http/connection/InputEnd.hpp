#pragma once

#include <iosfwd>

namespace ZOLNS2::HTTP
{

/// Whether the input of a stream that was read until it failed ended in order, neither cut nor broken. A buffer
/// of the library remembers how its input ended; of any other the stream's bits have to tell.
bool inputEndedInOrder(const std::istream& input);

} // namespace ZOLNS2::HTTP
