#include "Shorthand.hpp"

namespace hostile
{

namespace
{

using Limits = ZOLNS2::MIME::MultipartReader::Limits;

const std::string HEAD = OK + "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
const std::string TYPE = "Content-Type: text/plain\r\n\r\n";
const std::string PART_ONE = "--b\r\n" + TYPE + "one\r\n";
const std::string PART_TWO = "--b\r\n" + TYPE + "two\r\n";
const std::string END = "--b--\r\n";
const std::string WHOLE = PART_ONE + PART_TWO + END;

/// A body that is read part by part.
Row parts(const char* name, const char* what, Script script, ExchangeOutcome exchange, PageOutcome page)
{
    return Row(name, what, std::move(script), std::move(exchange), std::move(page)).reading(E_PART_BY_PART);
}

Script withBody(const std::string& body)
{
    return responds(HEAD + body);
}

std::vector<Row> breaks()
{
    // Without an announced length only the closing delimiter tells that a body is whole, so a close is complete for
    // bodyEnd(); the reader of the parts is what fails.
    const auto closedBehind = [](std::vector<Bytes> bodies)
    { return failsBehind(std::move(bodies), X::E_CUT, R::E_COMPLETE); };
    return {
        parts("MultipartWhole", "sends two parts", withBody(WHOLE), givesParts({"one", "two"}),
              returnsParts({"one", "two"})),
        parts("MultipartClosedInThePreamble", "closes within the preamble", withBody("preamble\r\n-"), closedBehind({}),
              returnsCutParts({})),
        parts("MultipartClosedInADelimiter", "closes within the first delimiter", withBody("--"), closedBehind({}),
              returnsCutParts({})),
        parts("MultipartClosedInAPartsHead", "closes within the headers of a part",
              withBody("--b\r\nContent-Type: text/pl"), closedBehind({}), returnsCutParts({""})),
        parts("MultipartClosedInAPart", "closes within a part", withBody(PART_ONE + "--b\r\n" + TYPE + "tw"),
              closedBehind({"one", "tw"}), returnsCutParts({"one", "tw"})),
        parts("MultipartClosedInTheClosingDelimiter", "closes within the closing delimiter",
              withBody(PART_ONE + "--b-"), closedBehind({"one\r\n--b-"}), returnsCutParts({"one", ""})),
        parts("MultipartClosedBehindTheDashes", "closes right behind the dashes of the closing delimiter",
              withBody(PART_ONE + "--b--"), givesParts({"one"}), returnsParts({"one"})),
        parts("MultipartClosedInTheEpilogue", "closes within an epilogue", withBody(WHOLE + "epilogue"),
              givesParts({"one", "two"}), returnsParts({"one", "two"})),
        parts("MultipartResetInAPart", "resets within a part",
              {request(), send(HEAD + PART_ONE + "--b\r\n" + TYPE + "tw"), reset()},
              failsBehind({"one", "tw"}, X::E_RESET, R::E_RESET), returnsCutParts({"one", "tw"})),
        parts("MultipartResetInTheEpilogue", "resets within the epilogue", {request(), send(HEAD + WHOLE), reset()},
              givesParts({"one", "two"}, R::E_RESET), returnsCutParts({"one", "two"})),
        parts("MultipartStallInAPart", "falls silent within a part",
              {request(), send(HEAD + PART_ONE + "--b\r\n" + TYPE + "tw"), stall()},
              failsBehind({"one", "tw"}, X::E_TIMED_OUT, R::E_TIMED_OUT), returnsCutParts({"one", "tw"}))
            .times(SHORT),
        parts("MultipartStallInTheEpilogue", "falls silent behind the closing delimiter",
              {request(), send(HEAD + WHOLE), stall()}, givesParts({"one", "two"}, R::E_TIMED_OUT),
              returnsCutParts({"one", "two"}))
            .times(SHORT),
        parts("MultipartDripOfThePreamble", "drips a preamble", {request(), send(HEAD), dripForever("x")},
              failsBehind({}, X::E_DEADLINE, R::E_DEADLINE), doesNotReturn())
            .times(SHORT)
            .deadline(2 * SHORT),
        parts("MultipartDripOfAPartsHead", "drips the headers of a part",
              {request(), send(HEAD + "--b\r\n"), dripForever("X: y\r\n")},
              failsBehind({}, X::E_DEADLINE, R::E_DEADLINE), doesNotReturn())
            .times(SHORT)
            .deadline(2 * SHORT),
        parts("MultipartDripOfTheEpilogue", "drips an epilogue", {request(), send(HEAD + WHOLE), dripForever("x")},
              givesParts({"one", "two"}, R::E_DEADLINE), doesNotReturn())
            .times(SHORT)
            .deadline(2 * SHORT),
    };
}

std::vector<Row> floods()
{
    constexpr std::uint64_t LARGE = 16 * MIB;
    Limits fewBytes;
    fewBytes.bytes = MIB;
    std::string manyLines;
    while (manyLines.size() < 600000)
    {
        manyLines += "X: y\r\n";
    }
    return {
        parts("MultipartPreambleFlood", "sends 16 MiB in front of the first part",
              {request(), send(HEAD), send("preamble preamble preamble\r\n", LARGE / 28), send(WHOLE)},
              givesParts({"one", "two"}), returnsParts({"one", "two"}))
            .memory(64 * MIB),
        parts("MultipartEpilogueFlood", "sends 16 MiB behind the last part",
              {request(), send(HEAD + WHOLE), send("e", LARGE)}, givesParts({"one", "two"}),
              returnsParts({"one", "two"}))
            .memory(64 * MIB),
        parts("MultipartPreambleOverTheLimit", "sends 16 MiB in front of the first part, and 1 MiB is allowed",
              {request(), send(HEAD), send("p", LARGE), send("\r\n" + WHOLE)}, failsBehind({}, X::E_LIMIT, R::E_OPEN),
              returnsParts({"one", "two"}))
            .partLimits(fewBytes)
            .memory(64 * MIB),
        parts("MultipartEpilogueOverTheLimit", "sends 16 MiB behind the last part, and 1 MiB is allowed",
              {request(), send(HEAD + WHOLE), send("e", LARGE)}, failsBehind({"one", "two"}, X::E_LIMIT, R::E_OPEN),
              returnsParts({"one", "two"}))
            .partLimits(fewBytes)
            .memory(64 * MIB),
        parts("MultipartOf1000Parts", "sends 1000 parts", {request(), send(HEAD), send(PART_ONE, 1000), send(END)},
              givesParts(std::vector<Bytes>(1000, "one")), returnsParts(std::vector<Bytes>(1000, "one")))
            .memory(16 * MIB),
        parts("MultipartOf1001Parts", "sends 1001 parts", {request(), send(HEAD), send(PART_ONE, 1001), send(END)},
              failsBehind(std::vector<Bytes>(1000, "one"), X::E_LIMIT, R::E_OPEN),
              returnsParts(std::vector<Bytes>(1001, "one")))
            .memory(16 * MIB),
        parts("MultipartFloodOfParts", "sends 20000 parts", {request(), send(HEAD), send(PART_ONE, 20000), send(END)},
              failsBehind(std::vector<Bytes>(1000, "one"), X::E_LIMIT, R::E_OPEN),
              returnsParts(std::vector<Bytes>(20000, "one")))
            .memory(512 * MIB),
        parts("MultipartLargePart", "sends a part of 16 MiB",
              {request(), send(HEAD + "--b\r\n" + TYPE), send("x", LARGE), send("\r\n" + END)},
              givesParts({Bytes("x", LARGE)}), returnsParts({Bytes("x", LARGE)}))
            .memory(160 * MIB),
        parts("MultipartLineOfTheLimit", "sends a header line of 64 KiB in a part, with its end and the empty line",
              {request(), send(HEAD + "--b\r\nX: "), send("x", 64 * KIB - 7), send("\r\n\r\none\r\n" + END)},
              givesParts({"one"}), returnsParts({"one"}))
            .memory(4 * MIB),
        parts("MultipartHeadOverTheLimit", "sends a byte more",
              {request(), send(HEAD + "--b\r\nX: "), send("x", 64 * KIB - 6), send("\r\n\r\none\r\n" + END)},
              failsBehind({}, X::E_LIMIT, R::E_OPEN), returnsParts({"one"}))
            .memory(4 * MIB),
        parts("MultipartHeadFlood", "sends 600 KB of header lines in a part",
              {request(), send(HEAD + "--b\r\n" + manyLines + "\r\none\r\n" + END)},
              failsBehind({}, X::E_LIMIT, R::E_OPEN), returnsParts({manyLines + "\r\none"}))
            .memory(16 * MIB),
    };
}

std::vector<Row> boundaries()
{
    const auto same = [](const char* name, const char* what, const std::string& body, std::vector<Bytes> bodies)
    { return parts(name, what, withBody(body), givesParts(bodies), returnsParts(bodies)); };
    const std::string noBoundary = OK + "Content-Type: multipart/mixed\r\n\r\n";
    return {
        same("MultipartPaddedDelimiter", "sends blanks behind a delimiter", "--b \t \r\n" + TYPE + "one\r\n--b--\r\n",
             {"one"}),
        same("MultipartWithoutParts", "sends the closing delimiter alone", "--b--\r\n", {}),
        same("MultipartNearBoundaries", "sends parts of dashes", "--b\r\n" + TYPE + "--\r\n-\r\n--\r\n-b\r\n" + END,
             {"--\r\n-\r\n--\r\n-b"}),
        same("MultipartPartBehindTheEnd", "sends a part behind the closing delimiter", PART_ONE + END + "x" + PART_TWO,
             {"one"}),
        parts("MultipartBoundaryWithin", "sends a line that begins with the boundary",
              withBody("--b\r\n" + TYPE + "one\r\n--bx\r\ntwo\r\n" + END), givesParts({"one\r\n--bx\r\ntwo"}),
              returnsParts({"one", "x\r\ntwo"})),
        parts("MultipartBoundaryInALine", "sends the boundary within a line of the preamble",
              withBody("see --b\r\n" + TYPE + "not a part\r\n" + PART_ONE + END), givesParts({"one"}),
              returnsParts({"not a part", "one"})),
        parts("MultipartWithLfAlone", "ends its lines with LF alone",
              withBody("--b\nContent-Type: text/plain\n\none\n--b--\n"), givesParts({"one"}),
              returnsCutParts({"Content-Type: text/plain\n\none\n--b--\n"})),
        parts("MultipartFloodOfNearBoundaries", "sends 1 MiB of beginnings of a delimiter",
              {request(), send(HEAD + "--b\r\n" + TYPE), send("\r\n--", 256 * KIB), send("\r\n" + END)},
              givesParts({Bytes("\r\n--", 256 * KIB)}), returnsParts({Bytes("\r\n--", 256 * KIB)}))
            .memory(16 * MIB),
        parts("MultipartFloodOfAlmostClosing", "sends 1 MiB of delimiters with one dash",
              {request(), send(HEAD + "--b\r\n" + TYPE + "one"), send("\r\n--b-", 1000), send("\r\n" + END)},
              givesParts({"one" +
                          []
                          {
                              std::string text;
                              for (int i = 0; i < 1000; ++i)
                              {
                                  text += "\r\n--b-";
                              }
                              return text;
                          }()}),
              returnsParts(
                  []
                  {
                      std::vector<Bytes> bodies(1001, "");
                      bodies[0] = "one";
                      return bodies;
                  }()))
            .memory(16 * MIB),
        parts("MultipartFloodOfPadding", "sends 1 MiB of blanks behind a delimiter",
              {request(), send(HEAD + "--b"), send(" ", MIB), send("\r\n" + TYPE + "one\r\n" + END)}, givesParts({}),
              returnsParts({"one"}))
            .memory(16 * MIB),
        parts("MultipartWithoutBoundary", "names no boundary", responds(noBoundary + WHOLE),
              failsBehind({}, X::E_MALFORMED, R::E_OPEN),
              throws("ContentException", -1, "Content-Type says multipart, but no boundary supplied.")),
        parts("MultipartWithEmptyBoundary", "names an empty boundary",
              responds(OK + "Content-Type: multipart/mixed; boundary=\"\"\r\n\r\n" + WHOLE),
              failsBehind({}, X::E_MALFORMED, R::E_OPEN),
              throws("ContentException", -1, "Content-Type says multipart, but no boundary supplied.")),
        parts("MultipartWithLongBoundary", "names a boundary of 32 KiB",
              {request(), send(OK + "Content-Type: multipart/mixed; boundary="), send("b", 32 * KIB),
               send("\r\n\r\n--"), send("b", 32 * KIB), send("\r\n" + TYPE + "one\r\n--"), send("b", 32 * KIB),
               send("--\r\n")},
              givesParts({"one"}), returnsParts({"one"}))
            .memory(8 * MIB),
        parts("MultipartWithoutAnyDelimiter", "sends no delimiter", withBody("nothing of that kind"),
              failsBehind({}, X::E_CUT, R::E_COMPLETE), returnsCutParts({})),
    };
}

std::vector<Row> partHeads()
{
    const auto malformed = [](const char* name, const char* what, const std::string& lines)
    {
        return parts(name, what, withBody("--b\r\n" + lines + "\r\none\r\n" + END),
                     failsBehind({}, X::E_MALFORMED, R::E_OPEN), returnsParts({lines + "\r\none"}));
    };
    return {
        malformed("MultipartHeaderWithoutColon", "sends a part's header without a colon", "no colon\r\n"),
        malformed("MultipartHeaderWithoutName", "sends a part's header without a name", ": x\r\n"),
        malformed("MultipartHeaderWithNul", "sends a NUL in a part's header", "X: \0\r\n"s),
        malformed("MultipartHeaderWithCr", "sends a CR in a part's header", "X: y\rz\r\n"),
        parts("MultipartPartWithoutHeaders", "sends a part without headers", withBody("--b\r\n\r\none\r\n" + END),
              givesParts({"one"}), returnsParts({"one"})),
        parts("MultipartPartOfAnImage", "sends a part of another type",
              withBody("--b\r\nContent-Type: image/png\r\n\r\none\r\n" + PART_TWO + END), givesParts({"one", "two"}),
              returnsParts({"two"})),
        parts("MultipartPartWithTypeOfNoEnd", "ends the content type of a part with a semicolon",
              withBody("--b\r\nContent-Type: text/plain;\r\n\r\none\r\n" + END), givesParts({"one"}), doesNotReturn())
            .times(SHORT),
        parts("MultipartNested", "sends a multipart part",
              withBody("--b\r\nContent-Type: multipart/mixed; boundary=c\r\n\r\n--c\r\n\r\none\r\n--c--\r\n" + END),
              givesParts({"--c\r\n\r\none\r\n--c--"}), returnsParts({})),
        parts("MultipartEmptyPart", "sends an empty part", withBody("--b\r\n" + TYPE + "\r\n" + END), givesParts({""}),
              returnsParts({""})),
    };
}

std::vector<Row> framings()
{
    const std::string type = "Content-Type: multipart/mixed; boundary=b\r\n";
    return {
        parts("MultipartChunked", "sends parts in one chunk",
              responds(OK + type + "Transfer-Encoding: chunked\r\n\r\n3f\r\n" +
                       ("--b\r\n" + TYPE + "one\r\n--b--\r\n" + "epilogue epilogue ").substr(0, 0x3f) +
                       "\r\n0\r\n\r\n"),
              givesParts({"one"}), returnsParts({"one"})),
        parts("MultipartLongerThanItsLength", "announces a length that ends in the second part",
              responds(OK + type + "Content-Length: " + std::to_string(PART_ONE.size() + 35) + "\r\n\r\n" + WHOLE),
              failsBehind({"one", "tw"}, X::E_CUT, R::E_COMPLETE), returnsParts({"one", "two"})),
        parts("MultipartShorterThanItsLength", "announces a length beyond the closing delimiter",
              responds(OK + type + "Content-Length: 1000\r\n\r\n" + WHOLE), givesParts({"one", "two"}, R::E_CUT),
              returnsParts({"one", "two"})),
        parts("MultipartOfAnotherType", "sends a page where parts are expected",
              responds(OK + "Content-Type: text/html\r\n\r\nhello"), failsBehind({}, X::E_MALFORMED, R::E_OPEN),
              returns(200, "hello")),
        Row("MultipartReadAsItComes", "sends parts without their closing delimiter to a reader of bytes",
            withBody(PART_ONE), gives(200, PART_ONE), returnsCutParts({"one\r\n"})),
    };
}

} // namespace

std::vector<Row> multipartRows()
{
    std::vector<Row> rows;
    for (auto* make : {breaks, floods, boundaries, partHeads, framings})
    {
        for (Row& row : make())
        {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace hostile
