#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/CommonFwd.hpp"
#include "blocxx/GlobalString.hpp"
#include "blocxx/LogMessagePatternFormatterException.hpp" // IWYU pragma: export

#include <vector>

namespace blocxx
{

struct LogMessage;
struct LogMessagePatternPiece;

/// Turns log records into text.
///
/// A pattern is text with conversions of the form `%`[`-`][min][`.`max]letter. `min` pads with blanks, on the left or,
/// after `-`, on the right; `max` cuts to the last bytes or, after `-`, to the first ones.
///
/// | letter | becomes |
/// |---|---|
/// | `m` | the message |
/// | `e` | the message as an XML CDATA section |
/// | `p` | the category |
/// | `c`, `c{N}` | the component; with N greater than 0 its last N pieces between dots |
/// | `d`, `d{F}` | the local time; F is a strftime format, or ISO8601 (the default), ABSOLUTE or DATE |
/// | `r` | milliseconds since the library was loaded |
/// | `t` | thread id |
/// | `P` | process id |
/// | `F`, `L`, `M` | source file (nothing if unknown), line (-1 if unknown), function |
/// | `l` | file(line), nothing without a file |
///
/// In a strftime format the first `%Q` becomes the milliseconds; a time of more than 254 bytes becomes nothing.
///
/// In the text around them `%%` is a percent sign and `%n` a line end, `\n`, `\r`, `\t`, `\\` are what they are in C,
/// and `\x` takes all hexadecimal digits that follow, for a value of at most 127.
///
/// Threads: formatting is const and may happen on several threads at once.
class BLOCXX_COMMON_API LogMessagePatternFormatter
{
public:
    /// The pattern to use where the program has none of its own.
    static const GlobalString STR_DEFAULT_MESSAGE_PATTERN;

    /// @throws LogMessagePatternFormatterException
    explicit LogMessagePatternFormatter(const String& pattern);
    LogMessagePatternFormatter(const LogMessagePatternFormatter&) = delete;
    LogMessagePatternFormatter& operator=(const LogMessagePatternFormatter&) = delete;
    ~LogMessagePatternFormatter();

    /// Appends the record's text to `output`.
    void formatMessage(const LogMessage& message, StringBuffer& output) const;

private:
    std::vector<LogMessagePatternPiece> m_pieces;
};

} // namespace blocxx
