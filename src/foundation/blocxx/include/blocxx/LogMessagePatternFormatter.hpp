#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/CommonFwd.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/GlobalString.hpp"

#include <string>
#include <vector>

namespace blocxx
{

struct LogMessage;

/// Thrown for a pattern that cannot be understood; the error code is one of LogMessagePatternFormatter::EErrorCode.
BLOCXX_DECLARE_APIEXCEPTION(LogMessagePatternFormatter, BLOCXX_COMMON_API)

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
/// | `d`, `d{F}` | the local time; F is a strftime format in which the first `%Q` is milliseconds, or ISO8601 (the
/// default), ABSOLUTE or DATE. More than 254 bytes become nothing | | `r` | milliseconds since the library was loaded |
/// | `t` | thread id |
/// | `P` | process id |
/// | `F`, `L`, `M` | source file (nothing if unknown), line (-1 if unknown), function |
/// | `l` | file(line), nothing without a file |
///
/// In the text around them `%%` is a percent sign and `%n` a line end, `\n`, `\r`, `\t`, `\\` are what they are in C,
/// and `\x` takes all hexadecimal digits that follow, for a value of at most 127.
///
/// Threads: formatting is const and may happen on several threads at once.
class BLOCXX_COMMON_API LogMessagePatternFormatter
{
public:
    static const GlobalString STR_DEFAULT_MESSAGE_PATTERN;

    /// Error codes of LogMessagePatternFormatterException.
    enum EErrorCode
    {
        E_DIGIT_EXPECTED,          ///< something else than a digit after the dot
        E_POSITIVE_INTEGER_NEEDED, ///< the option of %c is not a number
        E_UNSUPPORTED_CONVERSION,  ///< an unknown letter
        E_OPTION_NOT_CLOSED        ///< an opening brace without its closing one
    };

    /// @throws LogMessagePatternFormatterException
    explicit LogMessagePatternFormatter(const String& pattern);
    LogMessagePatternFormatter(const LogMessagePatternFormatter&) = delete;
    LogMessagePatternFormatter& operator=(const LogMessagePatternFormatter&) = delete;
    ~LogMessagePatternFormatter();

    /// Appends the record's text to `output`.
    void formatMessage(const LogMessage& message, StringBuffer& output) const;

private:
    struct Piece;
    class Parser;

    static std::string convert(const Piece& piece, const LogMessage& message);

    std::vector<Piece> m_pieces;
};

} // namespace blocxx
