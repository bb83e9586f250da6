#pragma once

#include "zol/http/Headers.hpp"
#include "zol/http/RequestLine.hpp"

#include <string>

/// @file
/// The forms in which a head goes onto the wire, appended to a string. A head that is gathered in a string is
/// written as one piece: a write on a stream costs more than the copying of a header line.

namespace ZOLNS2::HTTP
{

/// With the line's end.
void appendWireText(std::string& text, const RequestLine& line);

/// Without a line end.
void appendWireText(std::string& text, const Header& header);

/// With a line end after each, and without the empty line that ends a head.
void appendWireText(std::string& text, const Headers& headers);

} // namespace ZOLNS2::HTTP
