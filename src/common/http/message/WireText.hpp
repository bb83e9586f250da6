#pragma once

#include "zol/http/Headers.hpp"
#include "zol/http/RequestLine.hpp"

#include <cstddef>
#include <string>
#include <string_view>

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

/// @name A whole head, with the empty line that ends it, into memory of its size
/// Further lines may be added to the headers, each with its line end.
/// @{
std::size_t wireSizeOfHead(const RequestLine& line, const Headers& headers, std::string_view further = {});
/// @return the end of what was written
char* writeWireHead(char* to, const RequestLine& line, const Headers& headers, std::string_view further = {});
/// @}

} // namespace ZOLNS2::HTTP
