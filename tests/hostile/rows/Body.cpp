#include "Shorthand.hpp"

namespace hostile
{

namespace
{

/// getPage() has no use for a length that is not a number.
PageOutcome refusesLength()
{
    return throws("StringConversionException", -1, "");
}

std::string length(const std::string& value)
{
    return OK + "Content-Length: " + value + "\r\n\r\n";
}

std::vector<Row> breaks()
{
    return {
        Row("BodyClosedBefore", "closes behind the head", responds(length("5")), gives(200, "", R::E_CUT),
            returns(200, "")),
        Row("BodyClosedIn", "closes within the body", responds(length("5") + "hel"), gives(200, "hel", R::E_CUT),
            returns(200, "hel")),
        Row("BodyClosedBeforeItsLastByte", "closes before the last byte of a large body",
            {request(), send(length(std::to_string(MIB))), send("x", MIB - 1)},
            gives(200, Bytes("x", MIB - 1), R::E_CUT), returns(200, Bytes("x", MIB - 1))),
        Row("BodyResetBefore", "resets behind the head", {request(), send(length("5")), reset()},
            gives(200, "", R::E_RESET), returnsCut(200, "")),
        Row("BodyResetIn", "resets within the body", {request(), send(length("5") + "hel"), reset()},
            gives(200, "hel", R::E_RESET), returnsCut(200, "hel")),
        Row("BodyResetBehind", "resets behind the whole body", {request(), send(length("5") + "hello"), reset()},
            gives(200, "hello"), returnsCut(200, "hello")),
        Row("BodyStallBefore", "falls silent behind the head", {request(), send(length("5")), stall()},
            gives(200, "", R::E_TIMED_OUT), returnsCut(200, ""))
            .times(SHORT),
        Row("BodyStallIn", "falls silent within the body", {request(), send(length("5") + "hel"), stall()},
            gives(200, "hel", R::E_TIMED_OUT), returnsCut(200, "hel"))
            .times(SHORT),
        Row("BodyKeptOpen", "does not close behind the whole body", {request(), send(length("5") + "hello"), stall()},
            gives(200, "hello"), returnsCut(200, "hello"))
            .times(SHORT),
        Row("BodyDrip", "drips the body", {request(), send(length("100000")), dripForever("x")},
            givesSome(200, Bytes("x", 100000), R::E_DEADLINE), doesNotReturn())
            .times(SHORT)
            .deadline(2 * SHORT),
        Row("BodyReadAllCut", "closes within a body that is read as a whole", responds(length("5") + "hel"),
            failsBehind({}, X::E_CUT, R::E_CUT), returns(200, "hel"))
            .reading(E_READ_ALL),
        Row("BodyReadAllReset", "resets within a body that is read as a whole",
            {request(), send(length("5") + "hel"), reset()}, failsBehind({}, X::E_RESET, R::E_RESET),
            returnsCut(200, "hel"))
            .reading(E_READ_ALL),
        Row("BodyReadAllStall", "falls silent within a body that is read as a whole",
            {request(), send(length("5") + "hel"), stall()}, failsBehind({}, X::E_TIMED_OUT, R::E_TIMED_OUT),
            returnsCut(200, "hel"))
            .reading(E_READ_ALL)
            .times(SHORT),
    };
}

std::vector<Row> toTheClose()
{
    const std::string head = OK + "\r\n";
    return {
        Row("BodyToTheClose", "ends its body by closing", responds(head + "hello"), gives(200, "hello"),
            returns(200, "hello")),
        Row("BodyToTheCloseReset", "resets within a body without length", {request(), send(head + "hello"), reset()},
            gives(200, "hello", R::E_RESET), returnsCut(200, "hello")),
        Row("BodyToTheCloseStall", "falls silent within a body without length",
            {request(), send(head + "hello"), stall()}, gives(200, "hello", R::E_TIMED_OUT), returnsCut(200, "hello"))
            .times(SHORT),
        Row("BodyToTheCloseDrip", "drips a body without length", {request(), send(head), dripForever("x")},
            givesSome(200, Bytes("x", 100000), R::E_DEADLINE), doesNotReturn())
            .times(SHORT)
            .deadline(2 * SHORT),
        Row("BodyFloodOfTheLimit", "sends as many bytes as are allowed", {request(), send(head), send("x", MIB)},
            gives(200, Bytes("x", MIB)), returns(200, Bytes("x", MIB)))
            .bodyLimit(MIB),
        Row("BodyFloodOverTheLimit", "sends a byte more than allowed", {request(), send(head), send("x", MIB + 1)},
            gives(200, Bytes("x", MIB), R::E_TOO_LARGE), returns(200, Bytes("x", MIB + 1)))
            .bodyLimit(MIB),
        Row("BodyFlood", "sends 64 MiB where 1 MiB is allowed", {request(), send(head), send("x", FLOOD)},
            gives(200, Bytes("x", MIB), R::E_TOO_LARGE), returns(200, Bytes("x", FLOOD)))
            .bodyLimit(MIB),
        Row("BodyReadAllOfTheLimit", "sends 64 MiB for a body that is read as a whole",
            {request(), send(head), send("x", 64 * MIB)}, gives(200, Bytes("x", 64 * MIB)),
            returns(200, Bytes("x", 64 * MIB)))
            .reading(E_READ_ALL)
            .memory(320 * MIB),
        Row("BodyReadAllOverTheLimit", "sends 64 MiB and a byte for a body that is read as a whole",
            {request(), send(head), send("x", 64 * MIB + 1)}, failsBehind({}, X::E_LIMIT, R::E_OPEN),
            returns(200, Bytes("x", 64 * MIB + 1)))
            .reading(E_READ_ALL)
            .memory(320 * MIB),
    };
}

std::vector<Row> lengths()
{
    const auto refused = [](const char* name, const char* what, const char* value)
    { return Row(name, what, responds(length(value) + "hello"), fails(X::E_HEAD, X::E_MALFORMED), refusesLength()); };
    return {
        Row("LengthTooSmall", "sends more than it has announced", responds(length("3") + "hello"), gives(200, "hel"),
            returns(200, "hello")),
        Row("LengthZero", "announces nothing and sends something", responds(length("0") + "hello"), gives(200, ""),
            returns(200, "hello")),
        Row("LengthHuge", "announces 8 EiB and sends 5 bytes", responds(length("9223372036854775808") + "hello"),
            gives(200, "hello", R::E_CUT), returns(200, "hello")),
        Row("LengthHugeReadAll", "announces 8 EiB for a body that is read as a whole",
            responds(length("9223372036854775808") + "hello"), failsBehind({}, X::E_LIMIT, R::E_OPEN),
            returns(200, "hello"))
            .reading(E_READ_ALL),
        Row("LengthBelowTheLimitReadAll", "announces 60 MiB for a body that is read as a whole, and sends 5 bytes",
            responds(length("62914560") + "hello"), failsBehind({}, X::E_CUT, R::E_CUT), returns(200, "hello"))
            .reading(E_READ_ALL),
        Row("LengthLargest", "announces the largest 64-bit number", responds(length("18446744073709551615") + "hello"),
            gives(200, "hello", R::E_CUT), returns(200, "hello")),
        refused("LengthOverflow", "announces a byte more than 64 bits hold", "18446744073709551616"),
        refused("LengthOf1000Digits", "announces a length of 1000 digits", std::string(1000, '9').c_str()),
        refused("LengthNegative", "announces a negative length", "-5"),
        refused("LengthWithPlus", "announces a length with a sign", "+5"),
        refused("LengthHexadecimal", "announces a hexadecimal length", "0x5"),
        refused("LengthFraction", "announces a length with a fraction", "5.0"),
        refused("LengthWithText", "announces a length with text behind it", "5 bytes"),
        refused("LengthOfText", "announces a length that is no number", "five"),
        refused("LengthWithBlanksInside", "announces a length with a blank inside", "1 0"),
        refused("LengthFolded", "folds the digits of its length over two lines", "1\r\n 0"),
        refused("LengthListOfDifferentOnes", "announces two lengths in one list", "5, 6"),
        Row("LengthListOfTheSame", "announces one length twice in a list", responds(length("5, 5") + "hello"),
            gives(200, "hello"), refusesLength()),
        Row("LengthTwice", "announces one length twice", responds(length("5\r\nContent-Length: 5") + "hello"),
            gives(200, "hello"), returns(200, "hello")),
        Row("LengthTwiceDifferently", "announces two lengths", responds(length("5\r\nContent-Length: 6") + "hello"),
            fails(X::E_HEAD, X::E_MALFORMED), refusesLength()),
        Row("LengthTwiceSpelledDifferently", "announces 5 and 05",
            responds(length("5\r\nContent-Length: 05") + "hello"), gives(200, "hello"), refusesLength()),
        Row("LengthEmpty", "announces an empty length", responds(length("") + "hello"),
            fails(X::E_HEAD, X::E_MALFORMED), returns(200, "hello")),
        Row("LengthWithLeadingZeros", "announces a length with leading zeros",
            responds(length("00000000000000000000005") + "hello"), gives(200, "hello"), returns(200, "hello")),
        Row("LengthInALargeError", "sends 64 MiB with the status 404, and 1 MiB is allowed",
            {request(), send("HTTP/1.1 404 X\r\n\r\n"), send("x", FLOOD)}, gives(404, Bytes("x", MIB), R::E_TOO_LARGE),
            refuses(404))
            .bodyLimit(MIB),
    };
}

std::vector<Row> withoutBody()
{
    return {
        Row("BodyOf204", "sends a body with the status 204",
            responds("HTTP/1.1 204 X\r\nContent-Length: 5\r\n\r\nhello"), gives(204, ""), returns(204, "hello")),
        Row("BodyOf205", "sends a body with the status 205",
            responds("HTTP/1.1 205 X\r\nContent-Length: 5\r\n\r\nhello"), gives(205, "hello"), returns(205, "hello")),
        Row("BodyOf304", "sends a body with the status 304",
            responds("HTTP/1.1 304 X\r\nContent-Length: 5\r\n\r\nhello"), gives(304, ""), refuses(304)),
        Row("BodyForHead", "sends a body in response to HEAD", responds(length("5") + "hello"), gives(200, ""),
            returns(200, "hello"))
            .method("HEAD"),
        Row("BodyChunkedOf204", "sends chunks with the status 204",
            responds("HTTP/1.1 204 X\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n"), gives(204, ""),
            returns(204, "hello")),
        Row("BodyIsAnotherResponse", "sends a second response behind the first",
            responds(length("5") + "hello" + length("5") + "wrong"), gives(200, "hello"),
            returns(200, "hello" + length("5") + "wrong")),
    };
}

} // namespace

std::vector<Row> bodyRows()
{
    std::vector<Row> rows;
    for (auto* make : {breaks, toTheClose, lengths, withoutBody})
    {
        for (Row& row : make())
        {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace hostile
