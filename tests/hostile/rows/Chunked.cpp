#include "Shorthand.hpp"

namespace hostile
{

namespace
{

const std::string ONE = "3\r\none\r\n";

struct Phase
{
    const char* name;
    const char* what;
    const char* bytes; // behind the first chunk
};

const Phase PHASES[] = {
    {"Size", "within the size of a chunk", "1"},
    {"Extension", "within an extension", "5;name=va"},
    {"SizeLineEnd", "between CR and LF of a size line", "5\r"},
    {"DataStart", "behind a size line", "5\r\n"},
    {"DataEnd", "behind the data of a chunk", ""}, // the line end of the first chunk is left out
    {"NextSize", "behind the line end of a chunk", ""},
    {"LastSize", "within the line of the last chunk", "0"},
    {"LastExtension", "within an extension of the last chunk", "0;name=va"},
};

/// Behind the line of the last chunk.
const Phase TRAILER_PHASES[] = {
    {"LastLine", "behind the line of the last chunk", "0\r\n"},
    {"TrailerName", "within the name of a trailer", "0\r\nX-Na"},
    {"TrailerValue", "within the value of a trailer", "0\r\nX-Name: va"},
    {"TrailerLine", "behind a line of the trailer", "0\r\nX-Name: value\r\n"},
    {"EmptyLine", "within the empty line behind the trailer", "0\r\n\r"},
};

std::string bytesOf(const Phase& phase)
{
    const std::string first = std::string(phase.name) == "DataEnd" ? "3\r\none" : ONE;
    return CHUNKED + first + phase.bytes;
}

Row rowOf(const Phase& phase, const char* how, const char* what, Script end, ExchangeOutcome exchange, PageOutcome page)
{
    Script script = {request(), send(bytesOf(phase))};
    script.insert(script.end(), end.begin(), end.end());
    return Row("Chunk"s + how + "In" + phase.name, what + " "s + phase.what, script, std::move(exchange),
               std::move(page));
}

std::vector<Row> breaks()
{
    std::vector<Row> rows;
    for (const Phase& phase : PHASES)
    {
        rows.push_back(rowOf(phase, "Closed", "closes", {}, gives(200, "one", R::E_CUT), returnsCut(200, "one")));
        rows.push_back(
            rowOf(phase, "Reset", "resets", {reset()}, gives(200, "one", R::E_RESET), returnsCut(200, "one")));
        rows.push_back(
            rowOf(phase, "Stall", "falls silent", {stall()}, gives(200, "one", R::E_TIMED_OUT), returnsCut(200, "one"))
                .times(SHORT));
    }
    for (const Phase& phase : TRAILER_PHASES)
    {
        rows.push_back(rowOf(phase, "Closed", "closes", {}, gives(200, "one"), returns(200, "one")));
        rows.push_back(rowOf(phase, "Reset", "resets", {reset()}, gives(200, "one"), returns(200, "one")));
        rows.push_back(
            rowOf(phase, "Stall", "falls silent", {stall()}, gives(200, "one", R::E_TIMED_OUT), returns(200, "one"))
                .times(SHORT));
    }
    return rows;
}

std::vector<Row> drips()
{
    const auto dripping = [](const char* name, const char* what, const std::string& bytes, const char* drops)
    {
        return Row(name, what, {request(), send(CHUNKED + ONE + bytes), dripForever(drops)},
                   gives(200, "one", R::E_DEADLINE), doesNotReturn())
            .times(SHORT)
            .deadline(2 * SHORT);
    };
    return {
        dripping("ChunkDripOfAnExtension", "drips an extension", "5;", "x"),
        dripping("ChunkDripOfBlanks", "drips blanks behind a size", "5", " "),
        Row("ChunkDripOfSizes", "drips chunks of one byte", {request(), send(CHUNKED), dripForever("1\r\nx\r\n")},
            givesSome(200, Bytes("x", 100000), R::E_DEADLINE), doesNotReturn())
            .times(SHORT)
            .deadline(2 * SHORT),
        Row("ChunkDripOfData", "drips the data of a chunk", {request(), send(CHUNKED + "10000\r\n"), dripForever("x")},
            givesSome(200, Bytes("x", 100000), R::E_DEADLINE), doesNotReturn())
            .times(SHORT)
            .deadline(2 * SHORT),
        Row("ChunkDripOfATrailerLine", "drips a line of the trailer",
            {request(), send(CHUNKED + ONE + "0\r\nX: "), dripForever("x")}, gives(200, "one", R::E_TIMED_OUT),
            doesNotReturn())
            .times(SHORT),
        Row("ChunkDripOfTrailerLines", "drips lines of the trailer",
            {request(), send(CHUNKED + ONE + "0\r\n"), dripForever("X: y\r\n")}, gives(200, "one", R::E_TIMED_OUT),
            doesNotReturn())
            .times(SHORT),
        Row("ChunkSlowButWhole", "drips a whole chunked body",
            {request(), send(CHUNKED), drip("2;e=f\r\nok\r\n0\r\nX: y\r\n\r\n")}, gives(200, "ok"), returns(200, "ok")),
    };
}

std::vector<Row> sizes()
{
    const auto whole = [](const char* name, const char* what, const std::string& bytes)
    { return Row(name, what, responds(CHUNKED + bytes), gives(200, "hello"), returns(200, "hello")); };
    const auto malformed = [](const char* name, const char* what, const std::string& bytes)
    { return Row(name, what, responds(CHUNKED + bytes), gives(200, "", R::E_MALFORMED), returnsCut(200, "")); };
    const std::string rest = "\r\nhello\r\n0\r\n\r\n";
    return {
        whole("ChunkSizeOf16Digits", "sends a size of 16 digits", "0000000000000005" + rest),
        malformed("ChunkSizeOf17Digits", "sends a size of 17 digits", "00000000000000005" + rest),
        malformed("ChunkSizeOverflow", "sends a size beyond 64 bits", "10000000000000005" + rest),
        Row("ChunkSizeLargest", "sends the largest 64-bit size and 5 bytes",
            responds(CHUNKED + "ffffffffffffffff\r\nhello"), gives(200, "hello", R::E_CUT), returnsCut(200, "hello")),
        malformed("ChunkSizeNegative", "sends a negative size", "-5" + rest),
        malformed("ChunkSizeWithPlus", "sends a size with a sign", "+5" + rest),
        malformed("ChunkSizeWithPrefix", "sends a size with 0x", "0x5" + rest),
        malformed("ChunkSizeBehindABlank", "sends a blank before a size", " 5" + rest),
        malformed("ChunkSizeEmpty", "sends an empty size line", rest),
        malformed("ChunkSizeOfText", "sends text for a size", "five" + rest),
        malformed("ChunkSizeWithText", "sends text behind a size", "5 bytes" + rest),
        malformed("ChunkSizeQuoted", "sends a size in quotes", "\"5\"" + rest),
        malformed("ChunkSizeWithNul", "sends a NUL behind a size", "5\0"s + rest),
        malformed("ChunkSizeWithCrAlone", "ends a size line with CR alone", "5\rhello\r\n0\r\n\r\n"),
        malformed("ChunkExtensionWithNul", "sends a NUL in an extension", "5;a\0b"s + rest),
        malformed("ChunkExtensionWithCr", "sends a CR in an extension", "5;a\rb" + rest),
        whole("ChunkSizeBeforeBlanks", "sends blanks and tabs behind a size", "5 \t " + rest),
        whole("ChunkLinesWithLfAlone", "ends its lines with LF alone", "5\nhello\n0\n\n"),
        whole("ChunkLastOfZeros", "sends four zeros for the last size", "5\r\nhello\r\n0000\r\n\r\n"),
        whole("ChunkExtensionQuoted", "sends a quoted extension with a semicolon", "5;a=\"b;c\"" + rest),
        whole("ChunkBytesBehindTheLast", "sends bytes behind the last chunk", "5" + rest + "HTTP/1.1 200 OK\r\n"),
        malformed("ChunkMissing", "sends the body without chunks", "hello"),
    };
}

std::vector<Row> floods()
{
    const std::string rest = "\r\nhello\r\n0\r\n\r\n";
    return {
        Row("ChunkExtensionOfTheLimit", "sends a size line of 4 KiB",
            {request(), send(CHUNKED + "5;"), send("x", 4 * KIB - 2), send(rest)}, gives(200, "hello"),
            returns(200, "hello")),
        Row("ChunkExtensionOverTheLimit", "sends a size line of 4 KiB and a byte",
            {request(), send(CHUNKED + "5;"), send("x", 4 * KIB - 1), send(rest)}, gives(200, "", R::E_MALFORMED),
            returnsCut(200, "")),
        Row("ChunkExtensionFlood", "sends an extension of 64 MiB",
            {request(), send(CHUNKED + "5;"), send("x", FLOOD), send(rest)}, gives(200, "", R::E_MALFORMED),
            returnsCut(200, "")),
        Row("ChunkFloodOfZeros", "sends zeros for a size without end", {request(), send(CHUNKED), send("0", FLOOD)},
            gives(200, "", R::E_MALFORMED), returnsCut(200, "")),
        Row("ChunkFloodOfSmallOnes", "sends 200000 chunks of one byte",
            {request(), send(CHUNKED), send("1\r\nx\r\n", 200000), send("0\r\n\r\n")}, gives(200, Bytes("x", 200000)),
            returns(200, Bytes("x", 200000))),
        Row("ChunkFloodOverTheLimit", "sends 4 MiB in chunks where 64 KiB are allowed",
            {request(), send(CHUNKED), send("4;an-extension\r\nxxxx\r\n", MIB), send("0\r\n\r\n")},
            gives(200, Bytes("x", 64 * KIB), R::E_TOO_LARGE), returns(200, Bytes("x", 4 * MIB)))
            .bodyLimit(64 * KIB),
        Row("ChunkTrailerOf64Lines", "sends a trailer of 64 lines",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\n"), send("X: y\r\n", 64), send("\r\n")}, gives(200, "hello"),
            returns(200, "hello")),
        Row("ChunkTrailerOf65Lines", "sends a trailer of 65 lines",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\n"), send("X: y\r\n", 65), send("\r\n")}, gives(200, "hello"),
            returnsCut(200, "hello")),
        Row("ChunkTrailerOf1000Lines", "sends a trailer of 1000 lines",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\n"), send("X: y\r\n", 1000), send("\r\n")},
            gives(200, "hello"), returnsCut(200, "hello")),
        Row("ChunkTrailerOf1001Lines", "sends a trailer of 1001 lines",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\n"), send("X: y\r\n", 1001), send("\r\n")},
            gives(200, "hello", R::E_TOO_LARGE), returnsCut(200, "hello")),
        Row("ChunkTrailerOf16KiB", "sends a trailer of 16 KiB",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\nX: "), send("y", 16 * KIB - 7), send("\r\n\r\n")},
            gives(200, "hello"), returns(200, "hello")),
        Row("ChunkTrailerOver16KiB", "sends a trailer of 16 KiB and a byte",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\nX: "), send("y", 16 * KIB - 6), send("\r\n\r\n")},
            gives(200, "hello"), returnsCut(200, "hello")),
        Row("ChunkTrailerFlood", "sends a trailer without end",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\n"), send("X: y\r\n", FLOOD / 6)},
            gives(200, "hello", R::E_TOO_LARGE), returnsCut(200, "hello")),
        Row("ChunkTrailerLineFlood", "sends a line of the trailer without end",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\nX: "), send("y", FLOOD)},
            gives(200, "hello", R::E_TOO_LARGE), returnsCut(200, "hello")),
    };
}

std::vector<Row> contradictions()
{
    const std::string chunks = "5\r\nhello\r\n0\r\n\r\n";
    const auto coded =
        [&](const char* name, const char* what, const char* coding, ExchangeOutcome exchange, PageOutcome page)
    {
        return Row(name, what, responds(OK + "Transfer-Encoding: " + coding + "\r\n\r\n" + chunks), std::move(exchange),
                   std::move(page));
    };
    const auto unknown = [&](const char* name, const char* what, const char* coding)
    { return coded(name, what, coding, fails(X::E_HEAD, X::E_MALFORMED), returns(200, chunks)); };
    return {
        Row("ChunkDataTooLong", "sends more data than the size says", responds(CHUNKED + "3\r\nhello\r\n0\r\n\r\n"),
            gives(200, "hel", R::E_MALFORMED), returnsCut(200, "hel")),
        Row("ChunkDataTooShort", "sends less data than the size says", responds(CHUNKED + "9\r\nhello\r\n0\r\n\r\n"),
            gives(200, "hello\r\n0\r", R::E_MALFORMED), returnsCut(200, "hello\r\n0\r")),
        Row("ChunkDataWithoutLineEnd", "sends the next size right behind the data",
            responds(CHUNKED + "5\r\nhello0\r\n\r\n"), gives(200, "hello", R::E_MALFORMED), returnsCut(200, "hello")),
        Row("ChunkDataAndNul", "sends a NUL behind the data", responds(CHUNKED + "5\r\nhello\0\r\n0\r\n\r\n"s),
            gives(200, "hello", R::E_MALFORMED), returnsCut(200, "hello")),
        Row("ChunkTrailerWithoutColon", "sends a trailer without a colon",
            responds(CHUNKED + "5\r\nhello\r\n0\r\nno colon\r\n\r\n"), gives(200, "hello", R::E_MALFORMED),
            returns(200, "hello")),
        Row("ChunkTrailerWithNul", "sends a NUL in the trailer",
            responds(CHUNKED + "5\r\nhello\r\n0\r\nX: \0\r\n\r\n"s), gives(200, "hello", R::E_MALFORMED),
            returnsCut(200, "hello")),
        Row("ChunkTrailerWithCr", "sends a CR in the trailer", responds(CHUNKED + "5\r\nhello\r\n0\r\nX: y\rz\r\n\r\n"),
            gives(200, "hello", R::E_MALFORMED), returnsCut(200, "hello")),
        Row("ChunkTrailerNamesALength", "announces a length in the trailer",
            responds(CHUNKED + "5\r\nhello\r\n0\r\nContent-Length: 99\r\n\r\n"), gives(200, "hello"),
            returns(200, "hello")),
        Row("CodingAndLength", "announces chunks and a length",
            responds(OK + "Transfer-Encoding: chunked\r\nContent-Length: 3\r\n\r\n" + chunks), gives(200, "hello"),
            returns(200, "hello")),
        Row("CodingAndBadLength", "announces chunks and a length that is no number",
            responds(OK + "Transfer-Encoding: chunked\r\nContent-Length: x\r\n\r\n" + chunks),
            fails(X::E_HEAD, X::E_MALFORMED), throws("StringConversionException", -1, "")),
        Row("CodingInHttp10", "sends chunks in HTTP/1.0",
            responds("HTTP/1.0 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + chunks), gives(200, "hello"),
            returns(200, "hello")),
        coded("CodingInCapitals", "announces CHUNKED", "CHUNKED", gives(200, "hello"), returns(200, "hello")),
        unknown("CodingList", "announces gzip and chunks", "gzip, chunked"),
        unknown("CodingListBackwards", "announces chunks and then gzip", "chunked, gzip"),
        unknown("CodingTwice", "announces chunks twice in a list", "chunked, chunked"),
        unknown("CodingTwiceInTwoHeaders", "announces chunks in two headers", "chunked\r\nTransfer-Encoding: chunked"),
        unknown("CodingIdentity", "announces the coding identity", "identity"),
        unknown("CodingUnknown", "announces an unknown coding", "xchunked"),
        unknown("CodingWithParameter", "announces chunks with a parameter", "chunked;q=1"),
        unknown("CodingEmpty", "announces an empty coding", ""),
        unknown("CodingQuoted", "announces chunks in quotes", "\"chunked\""),
        coded("CodingBehindAVerticalTab", "announces chunks behind a vertical tab", "\vchunked",
              fails(X::E_HEAD, X::E_MALFORMED), returns(200, "hello")),
    };
}

} // namespace

std::vector<Row> chunkedRows()
{
    std::vector<Row> rows;
    for (auto* make : {breaks, drips, sizes, floods, contradictions})
    {
        for (Row& row : make())
        {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace hostile
