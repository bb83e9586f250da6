#include "Shorthand.hpp"

namespace hostile
{

namespace
{

const std::string LENGTH_2 = "Content-Length: 2\r\n";

Script withHeaders(const std::string& lines)
{
    return responds(OK + lines + LENGTH_2 + "\r\nok");
}

std::vector<Row> closes()
{
    const auto closed = [](const char* name, const char* what, const std::string& bytes) {
        return Row(name, what, {request(), send(OK + bytes)}, fails(X::E_HEAD, X::E_CUT), refusesHead(BAD_STATUS_LINE));
    };
    return {
        closed("HeadClosedBehindTheStatusLine", "closes behind the status line", ""),
        closed("HeadClosedInAName", "closes within the name of a header", "Content-Le"),
        closed("HeadClosedInAValue", "closes within the digits of a length", "Content-Length: 1"),
        closed("HeadClosedInALineEnd", "closes between CR and LF of a header line", "Content-Length: 10\r"),
        closed("HeadClosedBehindALine", "closes behind a header line", LENGTH_2),
        closed("HeadClosedInTheEmptyLine", "closes within the empty line", LENGTH_2 + "\r"),
    };
}

std::vector<Row> resetsAndStalls()
{
    const auto reset = [](const char* name, const char* what, const std::string& bytes)
    {
        return Row(name, what, {request(), send(OK + bytes), hostile::reset()}, fails(X::E_HEAD, X::E_RESET),
                   refusesHead(BAD_STATUS_LINE));
    };
    const auto stalled = [](const char* name, const char* what, const std::string& bytes)
    {
        return Row(name, what, {request(), send(OK + bytes), stall()}, fails(X::E_HEAD, X::E_TIMED_OUT),
                   refusesHead(BAD_STATUS_LINE))
            .times(SHORT);
    };
    const auto dripping = [](const char* name, const char* what, const std::string& bytes, const char* drops)
    {
        return Row(name, what, {request(), send(OK + bytes), dripForever(drops)}, fails(X::E_HEAD, X::E_TIMED_OUT),
                   doesNotReturn())
            .times(SHORT);
    };
    return {
        reset("HeadResetInAName", "resets within the name of a header", "Content-Le"),
        reset("HeadResetInAValue", "resets within a value", "Content-Length: 1"),
        reset("HeadResetBehindALine", "resets behind a header line", LENGTH_2),
        reset("HeadResetInTheEmptyLine", "resets within the empty line", LENGTH_2 + "\r"),
        stalled("HeadStallInAName", "falls silent within the name of a header", "Content-Le"),
        stalled("HeadStallInAValue", "falls silent within a value", "Content-Length: 1"),
        stalled("HeadStallBehindALine", "falls silent behind a header line", LENGTH_2),
        stalled("HeadStallInTheEmptyLine", "falls silent within the empty line", LENGTH_2 + "\r"),
        dripping("HeadDripOfAName", "drips the name of a header without end", "", "n"),
        dripping("HeadDripOfAValue", "drips a value without end", "X: ", "v"),
        dripping("HeadDripOfLines", "drips header lines without end", "", "X: y\r\n"),
        dripping("HeadDripOfAFoldedLine", "drips continuations of a header without end", "X: y\r\n", " z\r\n"),
    };
}

std::vector<Row> floods()
{
    constexpr std::uint64_t LONGEST = 64 * KIB - 3; // behind "X: "
    const std::string line = "X: " + std::string(1000, 'x') + "\r\n";
    constexpr std::uint64_t MOST = (256 * KIB) / 1005; // of these lines
    return {
        Row("HeadLineOfTheLimit", "sends a header line of 64 KiB",
            {request(), send(OK + "X: "), send("x", LONGEST), send("\r\n" + LENGTH_2 + "\r\nok")}, gives(200, "ok"),
            returns(200, "ok")),
        Row("HeadLineOverTheLimit", "sends a header line of 64 KiB and a byte",
            {request(), send(OK + "X: "), send("x", LONGEST + 1), send("\r\n" + LENGTH_2 + "\r\nok")},
            fails(X::E_HEAD, X::E_LIMIT), refusesHead(BAD_STATUS_LINE)),
        Row("HeadLineFlood", "sends a header line of 64 MiB", {request(), send(OK + "X: "), send("x", FLOOD)},
            fails(X::E_HEAD, X::E_LIMIT), refusesHead(BAD_STATUS_LINE)),
        Row("HeadNameFlood", "sends a header name of 64 MiB", {request(), send(OK), send("n", FLOOD)},
            fails(X::E_HEAD, X::E_LIMIT), refusesHead(BAD_STATUS_LINE)),
        Row("HeadOf1000Lines", "sends 1000 header lines",
            {request(), send(OK), send("X: y\r\n", 999), send(LENGTH_2 + "\r\nok")}, gives(200, "ok"),
            returns(200, "ok")),
        Row("HeadOf1001Lines", "sends 1001 header lines",
            {request(), send(OK), send("X: y\r\n", 1000), send(LENGTH_2 + "\r\nok")}, fails(X::E_HEAD, X::E_LIMIT),
            refusesHead(BAD_STATUS_LINE)),
        Row("HeadOf1000Names", "sends 1000 headers of different names",
            {request(), send(OK + LENGTH_2 +
                             []
                             {
                                 std::string lines;
                                 for (int i = 0; i < 999; ++i)
                                 {
                                     lines += "X-" + std::to_string(i) + ": y\r\n";
                                 }
                                 return lines;
                             }() +
                             "\r\nok")},
            gives(200, "ok"), returns(200, "ok")),
        Row("HeadFloodOfLines", "sends header lines without end", {request(), send(OK), send("X: y\r\n", FLOOD / 6)},
            fails(X::E_HEAD, X::E_LIMIT), refusesHead(BAD_STATUS_LINE)),
        Row("HeadFloodOfContinuations", "sends continuations of a header without end",
            {request(), send(OK + "X: y\r\n"), send(" z\r\n", FLOOD / 4)}, fails(X::E_HEAD, X::E_LIMIT),
            refusesHead(BAD_STATUS_LINE))
            .memory(4 * MIB),
        Row("HeadBelowTheLimit", "sends a head of almost 256 KiB",
            {request(), send(OK + LENGTH_2), send(line, MOST - 1), send("\r\nok")}, gives(200, "ok"),
            returns(200, "ok"))
            .memory(4 * MIB),
        Row("HeadOverTheLimit", "sends a head of somewhat more than 256 KiB",
            {request(), send(OK + LENGTH_2), send(line, MOST + 1), send("\r\nok")}, fails(X::E_HEAD, X::E_LIMIT),
            refusesHead(BAD_STATUS_LINE))
            .memory(4 * MIB),
        Row("HeadOfTheLimitThatWasSet", "sends a head of 1000 bytes, and 1000 are allowed",
            {request(), send(OK + LENGTH_2 + "X: " + std::string(1000 - 43, 'x') + "\r\n\r\nok")}, gives(200, "ok"),
            returns(200, "ok"))
            .headLimit(1000),
        Row("HeadOverTheLimitThatWasSet", "sends a head of 1001 bytes, and 1000 are allowed",
            {request(), send(OK + LENGTH_2 + "X: " + std::string(1001 - 43, 'x') + "\r\n\r\nok")},
            fails(X::E_HEAD, X::E_LIMIT), returns(200, "ok"))
            .headLimit(1000),
    };
}

std::vector<Row> malformed()
{
    const auto refused = [](const char* name, const char* what, const std::string& lines)
    { return Row(name, what, withHeaders(lines), fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_STATUS_LINE)); };
    return {
        refused("HeadLineWithoutColon", "sends a header line without a colon", "no colon\r\n"),
        refused("HeadLineWithoutName", "sends a header without a name", ": value\r\n"),
        refused("HeadLineWithBlankName", "sends a header with a blank for a name", "\t : value\r\n"),
        refused("HeadContinuesNothing", "begins with a continuation", " X: y\r\n"),
        refused("HeadLineOfBlanks", "sends a line of blanks among its headers", "X: y\r\n  \r\n"),
        refused("HeadWithNulInAName", "sends a NUL in a name", "X\0Y: z\r\n"s),
        refused("HeadWithNulInAValue", "sends a NUL in a value", "X: y\0z\r\n"s),
        refused("HeadWithCrInAName", "sends a CR in a name", "X\rY: z\r\n"),
        refused("HeadWithCrInAValue", "sends a CR in a value", "X: y\rSet-Cookie: z\r\n"),
        refused("HeadWithTwoCrs", "ends a header line with CR CR LF", "X: y\r\r\n"),
        refused("HeadWithLfCr", "ends a header line with LF CR", "X: y\n\rY: z\r\n"),
        refused("HeadLineOfEscapes", "sends escape sequences without a colon", "\x1b[2J\x1b[31m\r\n"),
    };
}

std::vector<Row> odd()
{
    const auto taken = [](const char* name, const char* what, const std::string& lines)
    { return Row(name, what, withHeaders(lines), gives(200, "ok"), returns(200, "ok")); };
    return {
        taken("HeadWithEscapes", "sends escape sequences in a value", "X: \x1b[31m\x07\r\n"),
        taken("HeadWithBytesBeyondAscii", "sends bytes beyond ASCII in name and value", "X\xff: \xfe\r\n"),
        taken("HeadWithAFoldedLine", "folds a header over three lines", "X: y\r\n z\r\n\tz\r\n"),
        taken("HeadWithAnEmptyValue", "sends a header without a value", "X:\r\n"),
        taken("HeadWithManyCookies", "sends 500 cookies of one name",
              []
              {
                  std::string lines;
                  for (int i = 0; i < 500; ++i)
                  {
                      lines += "Set-Cookie: a=" + std::to_string(i) + "\r\n";
                  }
                  return lines;
              }()),
        taken("HeadWithLfAlone", "ends header lines with LF alone", "X: y\nY: z\n"),
        Row("HeadWithBlankBeforeTheColon", "sends a blank between the name of a length and the colon",
            responds(OK + "Content-Length : 2\r\n\r\nok"), gives(200, "ok"), returns(200, "ok")),
    };
}

std::vector<Row> contentTypes()
{
    const auto typed = [](const char* name, const char* what, const char* type, PageOutcome page)
    { return Row(name, what, withHeaders("Content-Type: "s + type + "\r\n"), gives(200, "ok"), std::move(page)); };
    return {
        typed("ContentTypeWithSemicolon", "ends its content type with a semicolon", "text/html;", doesNotReturn())
            .times(SHORT),
        typed("ContentTypeWithoutEquals", "names a parameter without a value", "text/html; charset", doesNotReturn())
            .times(SHORT),
        Row("ContentTypeWithoutEqualsOfAnError", "does so in an error response",
            responds("HTTP/1.1 500 X\r\nContent-Type: text/html;\r\n" + LENGTH_2 + "\r\nok"), gives(500, "ok"),
            doesNotReturn())
            .times(SHORT),
        typed("ContentTypeEmpty", "sends an empty content type", "", returns(200, "ok")),
        typed("ContentTypeOfBytes", "sends a content type of bytes beyond ASCII", "\xff\xfe/\x01", returns(200, "ok")),
        typed("ContentTypeWithOpenQuote", "opens a quote in its content type that does not close",
              "text/html; charset=\"utf-8", returns(200, "ok")),
        Row("ContentTypeOf60KiB", "sends a content type of 60 KiB of parameters",
            {request(), send(OK + "Content-Type: a/b"), send(";a=b", 15 * KIB), send("\r\n" + LENGTH_2 + "\r\nok")},
            gives(200, "ok"), returns(200, "ok"))
            .memory(512 * MIB),
        Row("ContentTypeTwice", "sends two content types",
            withHeaders("Content-Type: text/plain\r\nContent-Type: text/html\r\n"), gives(200, "ok"),
            returns(200, "ok")),
    };
}

} // namespace

std::vector<Row> headRows()
{
    std::vector<Row> rows;
    for (auto* make : {closes, resetsAndStalls, floods, malformed, odd, contentTypes})
    {
        for (Row& row : make())
        {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace hostile
