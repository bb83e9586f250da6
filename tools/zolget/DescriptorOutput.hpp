#pragma once

#include <string>
#include <string_view>

namespace zolget
{

/// Writes everything to a descriptor, waiting where it is full. Throws Failure (LOCAL_FILE); without a message when a
/// pipe no longer has a reader, since closing it is how the reader says that it has seen enough.
/// @param name what to call it in messages
void writeAll(int descriptor, const std::string& name, std::string_view bytes);

/// The same for standard output.
void writeToStandardOutput(std::string_view bytes);

} // namespace zolget
