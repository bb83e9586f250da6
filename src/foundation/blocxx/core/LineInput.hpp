#pragma once

#include <iosfwd>
#include <string>

namespace blocxx
{

/// Appends a line of `input` to `line` and cuts `line` at its first CR; the rules are those of StringBuffer::getLine.
void readLine(std::istream& input, std::string& line);

} // namespace blocxx
