#include "Shorthand.hpp"

namespace hostile
{

namespace
{

const std::string REST = "Content-Length: 2\r\n\r\nok";

/// A whole response with this status line.
Script withLine(const std::string& line)
{
    return responds(line + "\r\n" + REST);
}

std::vector<Row> breaks()
{
    return {
        Row("StatusLineClosedBefore", "closes without a response", {request()}, //
            fails(X::E_HEAD, X::E_CUT), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineResetBefore", "resets without a response", {request(), reset()}, //
            fails(X::E_HEAD, X::E_RESET), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineResetBeforeTheRequestIsRead", "resets at the first byte of the request", {take(1), reset()},
            fails(X::E_HEAD, X::E_RESET), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineSilenceBefore", "says nothing", {request(), stall()}, //
            fails(X::E_HEAD, X::E_TIMED_OUT), refusesHead(NO_STATUS_LINE))
            .times(SHORT),
        Row("StatusLineClosedIn", "closes within the status code", {request(), send("HTTP/1.1 20")},
            fails(X::E_HEAD, X::E_CUT), refuses(20)),
        Row("StatusLineClosedBehindTheCode", "closes behind the status code", {request(), send("HTTP/1.1 200")},
            fails(X::E_HEAD, X::E_CUT), returnsCut(200, "")),
        Row("StatusLineClosedBehindTheReason", "closes behind the reason phrase", {request(), send("HTTP/1.1 200 OK")},
            fails(X::E_HEAD, X::E_CUT), refusesHead(BAD_STATUS_LINE)),
        Row("StatusLineClosedBehindALongReason", "closes behind a reason phrase of three words",
            {request(), send("HTTP/1.1 200 All is well")}, fails(X::E_HEAD, X::E_CUT), returnsCut(200, "")),
        Row("StatusLineClosedInItsEnd", "closes between CR and LF of the status line",
            {request(), send("HTTP/1.1 200 OK\r")}, fails(X::E_HEAD, X::E_CUT), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineResetIn", "resets within the status line", {request(), send("HTTP/1.1 200 O"), reset()},
            fails(X::E_HEAD, X::E_RESET), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineResetBehind", "resets behind the status line", {request(), send(OK), reset()},
            fails(X::E_HEAD, X::E_RESET), refusesHead(BAD_STATUS_LINE)),
        Row("StatusLineStallIn", "falls silent within the status line", {request(), send("HTTP/1.1 200 O"), stall()},
            fails(X::E_HEAD, X::E_TIMED_OUT), refusesHead(NO_STATUS_LINE))
            .times(SHORT),
        Row("StatusLineDrip", "drips a status line without end", {request(), send("HTTP/1.1 200 "), dripForever("x")},
            fails(X::E_HEAD, X::E_TIMED_OUT), doesNotReturn())
            .times(SHORT),
        Row("StatusLineSlowButWhole", "drips a whole response",
            {request(), drip("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok")}, gives(200, "ok"), returns(200, "ok")),
    };
}

std::vector<Row> floods()
{
    constexpr std::uint64_t LONGEST = 64 * KIB - 13; // behind "HTTP/1.1 200 "
    return {
        Row("StatusLineOfTheLimit", "sends a status line of 64 KiB",
            {request(), send("HTTP/1.1 200 "), send("x", LONGEST), send("\r\n" + REST)}, gives(200, "ok"),
            returns(200, "ok")),
        Row("StatusLineOverTheLimit", "sends a status line of 64 KiB and a byte",
            {request(), send("HTTP/1.1 200 "), send("x", LONGEST + 1), send("\r\n" + REST)},
            fails(X::E_HEAD, X::E_LIMIT), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineFlood", "sends a status line of 64 MiB",
            {request(), send("HTTP/1.1 200 "), send("x", FLOOD), send("\r\n" + REST)}, fails(X::E_HEAD, X::E_LIMIT),
            refusesHead(NO_STATUS_LINE)),
        Row("StatusLineFloodOfNuls", "sends 64 MiB of NULs", {request(), send("\0"s, FLOOD)},
            fails(X::E_HEAD, X::E_LIMIT), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineBehind16EmptyLines", "sends 16 empty lines first",
            {request(), send("\r\n", 16), send(OK + REST)}, gives(200, "ok"), returns(200, "ok")),
        Row("StatusLineBehind17EmptyLines", "sends 17 empty lines first",
            {request(), send("\r\n", 17), send(OK + REST)}, fails(X::E_HEAD, X::E_MALFORMED),
            refusesHead(NO_STATUS_LINE)),
        Row("StatusLineFloodOfEmptyLines", "sends empty lines without end", {request(), send("\r\n", FLOOD / 2)},
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineBehindABlankLine", "sends a line of blanks first", {request(), send("  \r\n" + OK + REST)},
            fails(X::E_HEAD, X::E_MALFORMED), returns(200, "ok")),
        Row("StatusLineBeforeTheRequest", "sends its response before it has a request", {send(OK + REST), request()},
            gives(200, "ok"), returns(200, "ok")),
    };
}

std::vector<Row> versions()
{
    return {
        Row("StatusLineOfHttp09", "sends a page without a head", responds("<html>hello</html>\n"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION)),
        Row("StatusLineOfHttp2", "names the version HTTP/2", withLine("HTTP/2 200 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION)),
        Row("StatusLineOfHttp20", "names the version HTTP/2.0", withLine("HTTP/2.0 200 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION)),
        Row("StatusLineOfHttp10", "names the version HTTP/1.0", withLine("HTTP/1.0 200 OK"), gives(200, "ok"),
            returns(200, "ok")),
        Row("StatusLineOfHttp12", "names the version HTTP/1.2", withLine("HTTP/1.2 200 OK"), gives(200, "ok"),
            refusesHead(BAD_VERSION)),
        Row("StatusLineOfHttp110", "names the version HTTP/1.10", withLine("HTTP/1.10 200 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION)),
        Row("StatusLineInLowerCase", "names the version http/1.1", withLine("http/1.1 200 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION)),
        Row("StatusLineOfAnotherProtocol", "speaks another protocol", withLine("ICY 200 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION)),
        Row("StatusLineWithoutBlank", "leaves out the blank behind the version", withLine("HTTP/1.1200 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION)),
        Row("StatusLineIsAHeader", "sends header lines without a status line", responds(REST),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION)),
        Row("StatusLineIsTls", "sends a TLS alert over the plain connection",
            {request(), send("\x15\x03\x01\x00\x02\x02\x28"s)}, fails(X::E_HEAD, X::E_MALFORMED),
            refusesHead(NO_STATUS_LINE)),
    };
}

std::vector<Row> codes()
{
    return {
        Row("StatusOfOneDigit", "sends the status 2", withLine("HTTP/1.1 2 OK"), fails(X::E_HEAD, X::E_MALFORMED),
            refuses(2)),
        Row("StatusOfFourDigits", "sends the status 2000", withLine("HTTP/1.1 2000 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refuses(2000)),
        Row("StatusBelow100", "sends the status 099", withLine("HTTP/1.1 099 OK"), fails(X::E_HEAD, X::E_MALFORMED),
            refuses(99)),
        Row("StatusZero", "sends the status 000", withLine("HTTP/1.1 000 OK"), fails(X::E_HEAD, X::E_MALFORMED),
            refuses(0)),
        Row("StatusWithALetter", "sends the status 2x0", withLine("HTTP/1.1 2x0 OK"), fails(X::E_HEAD, X::E_MALFORMED),
            refusesHead(BAD_CODE)),
        Row("StatusNegative", "sends the status -200", withLine("HTTP/1.1 -200 OK"), fails(X::E_HEAD, X::E_MALFORMED),
            refusesHead(BAD_CODE)),
        Row("StatusBeyond16Bits", "sends the status 65736", withLine("HTTP/1.1 65736 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_CODE)),
        Row("StatusMissing", "sends no status", withLine("HTTP/1.1"), fails(X::E_HEAD, X::E_MALFORMED),
            refusesHead(BAD_CODE)),
        Row("StatusOfEscapes", "sends escape sequences for a status", withLine("HTTP/1.1 \x1b[31m OK"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_CODE)),
        Row("StatusWithoutReason", "sends no reason phrase", withLine("HTTP/1.1 200"), gives(200, "ok"),
            returns(200, "ok")),
        Row("StatusWithEscapesInItsReason", "sends escape sequences in its reason phrase",
            withLine("HTTP/1.1 200 \x1b[31mred\x07"), gives(200, "ok"), returns(200, "ok")),
        Row("StatusBehindTabsAndBlanks", "sends tabs and blanks between the words", withLine("HTTP/1.1 \t 200\t OK  "),
            gives(200, "ok"), returns(200, "ok")),
        Row("StatusBehindAVerticalTab", "sends a vertical tab between the words", withLine("HTTP/1.1\v200 OK"),
            fails(X::E_HEAD, X::E_MALFORMED), returns(200, "ok")),
        Row("Status299", "sends the status 299", withLine("HTTP/1.1 299 X"), gives(299, "ok"), returns(299, "ok")),
        Row("Status600", "sends the status 600", withLine("HTTP/1.1 600 X"), gives(600, "ok"), refuses(600)),
        Row("Status999", "sends the status 999", withLine("HTTP/1.1 999 X"), gives(999, "ok"), refuses(999)),
        Row("StatusLineWithNul", "sends a NUL in the status line", withLine("HTTP/1.1 200 O\0K"s),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineWithCr", "sends a lone CR in the status line", withLine("HTTP/1.1 200 OK\rX: y"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(NO_STATUS_LINE)),
        Row("StatusLineWithLfAlone", "ends all lines with LF alone",
            responds("HTTP/1.1 200 OK\nContent-Length: 2\n\nok"), gives(200, "ok"), returns(200, "ok")),
        Row("StatusLineWithTwoCrs", "ends the status line with CR CR LF", responds("HTTP/1.1 200 OK\r\r\n" + REST),
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(NO_STATUS_LINE)),
    };
}

std::vector<Row> interim()
{
    const std::string hints = "HTTP/1.1 103 Early Hints\r\nLink: </style>\r\n\r\n";
    return {
        Row("InterimContinue", "sends a 100 that nobody asked for",
            responds("HTTP/1.1 100 Continue\r\n\r\n" + OK + REST), gives(200, "ok"), refuses(100)),
        Row("InterimOf199", "sends a 199 first", responds("HTTP/1.1 199 X\r\n\r\n" + OK + REST), gives(200, "ok"),
            refuses(199)),
        Row("Interim16", "sends 16 interim responses", {request(), send(hints, 16), send(OK + REST)}, gives(200, "ok"),
            refuses(103)),
        Row("Interim17", "sends 17 interim responses", {request(), send(hints, 17), send(OK + REST)},
            fails(X::E_HEAD, X::E_LIMIT), refuses(103)),
        Row("InterimFlood", "sends interim responses without end", {request(), send(hints, 1000000)},
            fails(X::E_HEAD, X::E_LIMIT), refuses(103)),
        Row("InterimLarge", "sends interim responses of 60 KiB each",
            {request(), send("HTTP/1.1 103 X\r\nLink: " + std::string(60 * KIB, 'l') + "\r\n\r\n", 16),
             send(OK + REST)},
            fails(X::E_HEAD, X::E_LIMIT), refuses(103))
            .memory(2 * MIB),
        Row("InterimSwitchingProtocols", "switches to another protocol",
            responds("HTTP/1.1 101 Switching Protocols\r\nUpgrade: other\r\n\r\nother bytes"), gives(101, ""),
            refuses(101)),
        Row("InterimWithABody", "sends a 100 with a body",
            responds("HTTP/1.1 100 Continue\r\nContent-Length: 5\r\n\r\nhello" + OK + REST),
            fails(X::E_HEAD, X::E_MALFORMED), refuses(100)),
        Row("InterimAndClose", "closes behind an interim response", responds("HTTP/1.1 100 Continue\r\n\r\n"),
            fails(X::E_HEAD, X::E_CUT), refuses(100)),
        Row("InterimAndReset", "resets behind an interim response",
            {request(), send("HTTP/1.1 100 Continue\r\n\r\n"), reset()}, fails(X::E_HEAD, X::E_RESET), refuses(100)),
        Row("InterimAndStall", "falls silent behind an interim response",
            {request(), send("HTTP/1.1 100 Continue\r\n\r\n"), stall()}, fails(X::E_HEAD, X::E_TIMED_OUT), refuses(100))
            .times(SHORT),
        Row("InterimDrip", "drips interim responses", {request(), dripForever("HTTP/1.1 102 X\r\n\r\n")},
            fails(X::E_HEAD, X::E_TIMED_OUT), refuses(102))
            .times(SHORT),
    };
}

} // namespace

std::vector<Row> statusLineRows()
{
    std::vector<Row> rows;
    for (auto* make : {breaks, floods, versions, codes, interim})
    {
        for (Row& row : make())
        {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace hostile
