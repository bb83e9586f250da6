#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/Map.hpp"
#include "blocxx/String.hpp"
#include "openwbem/OW_config.h"

#include <cstddef>
#include <iosfwd>

namespace OpenWBEM
{

/// Header values by name, in the byte order of the names.
using HTTPHeaderMap = blocxx::Map<blocxx::String, blocxx::String>;

/// Reading of heads: a first line and header lines (RFC 9112 section 2.1), or header lines alone, as at the front of a
/// part of a multipart body (RFC 2046 section 5.1).
///
/// @code
/// OpenWBEM::HTTPHeaderMap headers;
/// blocxx::Array<blocxx::String> words;
/// if (OpenWBEM::HTTPUtils::parseHeader(headers, words, connection) && words.size() >= 2 && words[1] == "200")
/// {
///     std::cout << headers["content-type"]; // the body comes next in the stream
/// }
/// @endcode
///
/// Lines end with LF or CR LF, and no byte after the head is read. Names are stored in lower case, without the white
/// space around them and around their values; the values of one name are joined with ", " in the order of their
/// arrival, but a repeated content-length of the same value is kept once. A continuation line is joined with one blank,
/// or with none if it continues an empty value.
///
/// A head is refused for a line without a colon, an empty name, a NUL, a CR that no LF follows, a continuation that
/// continues nothing, a line of nothing but white space among the header lines, and when it exceeds a limit. The result
/// is then false, the stream has failbit, and what was stored before the offending line is kept.
///
/// The stream's buffer is read directly: nothing tied to the stream is flushed. If the buffer's input failed (see
/// BaseStreamBuffer), the stream gets badbit and the result is false. What the buffer or an allocation throws passes
/// through unchanged, with badbit set, and what was stored before is kept.
///
/// Threads: calls on different streams and maps are independent.
namespace HTTPUtils
{

/// @name Limits; what is exactly as large is accepted
/// @{
/// Bytes of one line, without its end.
constexpr std::size_t MAX_HEADER_LINE_LENGTH = std::size_t{64} * 1024;
/// Header lines, continuations included.
constexpr std::size_t MAX_HEADER_LINES = 1000;
/// Bytes of a whole head, line ends included.
constexpr std::size_t MAX_HEAD_SIZE = std::size_t{256} * 1024;
/// Lines of nothing but white space before the first line (RFC 9112 section 2.2).
constexpr std::size_t MAX_LEADING_EMPTY_LINES = 16;
/// @}

/// Reads a whole head: the words of its first line, and its header lines up to the empty line.
/// @param map   header lines are added to what it holds
/// @param array gets the words of the first line, between blanks, tabs and vertical tabs; untouched if there is no such
///              line, or only one that is refused
/// @return false also if the stream has failed already, and if the input ends before the empty line; the words of a
/// first line that was cut so are stored
OW_HTTP_API bool parseHeader(HTTPHeaderMap& map, blocxx::Array<blocxx::String>& array, std::istream& istr);

/// The same as buildMap.
OW_HTTP_API bool parseHeader(HTTPHeaderMap& map, std::istream& istr);

/// Reads header lines up to the empty line, or up to the end of the input: a last line without a line end counts, and
/// the stream then has eofbit and failbit.
/// @param map header lines are added to what it holds
/// @return true also, with nothing read, for a stream that has failed already
OW_HTTP_API bool buildMap(HTTPHeaderMap& map, std::istream& istr);

} // namespace HTTPUtils
} // namespace OpenWBEM
