#include "Shorthand.hpp"

namespace hostile
{

namespace
{

constexpr std::size_t LARGE = 16 * MIB;
const std::string WHOLE = OK + "Content-Length: 2\r\n\r\nok";
const std::string TOO_LARGE = "HTTP/1.1 413 X\r\nContent-Length: 2\r\n\r\nno";

PageOutcome returnsWithoutTheRequest(unsigned status, Bytes body)
{
    PageOutcome outcome = returnsCut(status, std::move(body));
    outcome.requestIsComplete = false;
    return outcome;
}

std::vector<Row> unread()
{
    return {
        Row("UploadUnread", "does not read an upload", {request(), stall()}, fails(X::E_SEND, X::E_TIMED_OUT),
            refusesHead(NO_STATUS_LINE))
            .uploading(LARGE)
            .times(SHORT),
        Row("UploadUnreadOverTls", "does not read an upload over TLS", {request(), stall()},
            fails(X::E_SEND, X::E_TIMED_OUT), refusesHead(NO_STATUS_LINE))
            .uploading(LARGE)
            .tls(&soundIdentity)
            .times(SHORT),
        Row("UploadReadInPart", "stops reading an upload", {request(), take(100000), stall()},
            fails(X::E_SEND, X::E_TIMED_OUT), refusesHead(NO_STATUS_LINE))
            .uploading(LARGE)
            .times(SHORT),
        Row("UploadReset", "resets within an upload", {request(), take(100000), reset()}, fails(X::E_SEND, X::E_RESET),
            refusesHead(NO_STATUS_LINE))
            .uploading(LARGE),
        Row("UploadOfASmallBodyReset", "resets behind an upload", {request(), take(1000), reset()},
            fails(X::E_HEAD, X::E_RESET), refusesHead(NO_STATUS_LINE))
            .uploading(1000),
        Row("UploadClosedBehind", "closes behind an upload", {request(), take(1000)}, fails(X::E_HEAD, X::E_CUT),
            refusesHead(NO_STATUS_LINE))
            .uploading(1000),
    };
}

std::vector<Row> early()
{
    return {
        Row("UploadRefusedEarly", "responds 413 and does not read the upload", {request(), send(TOO_LARGE), stall()},
            gives(413, "no"), refuses(413))
            .uploading(LARGE)
            .times(SHORT),
        Row("UploadRefusedAndRead", "responds 413 and reads the upload", {request(), send(TOO_LARGE), receiveKept()},
            gives(413, "no"), refuses(413))
            .uploading(LARGE)
            .times(1),
        Row("UploadAcceptedEarly", "responds 200 and does not read the upload", {request(), send(WHOLE), stall()},
            fails(X::E_SEND, X::E_CUT), returnsWithoutTheRequest(200, "ok"))
            .uploading(LARGE)
            .times(SHORT),
        Row("UploadRefusedHalfWay", "responds 413 within the upload",
            {request(), take(100000), send(TOO_LARGE), stall()}, gives(413, "no"), refuses(413))
            .uploading(LARGE)
            .times(SHORT),
        Row("UploadResponseCut", "closes within an early response",
            {request(), send("HTTP/1.1 413 X\r\nContent-Le"), shut(), stall()}, fails(X::E_HEAD, X::E_CUT),
            refusesHead("Unable to parse status line: HTTP/1.1413X"))
            .uploading(LARGE)
            .times(SHORT),
        Row("UploadResponseMalformed", "sends text while the request is sent", {request(), send("what?\r\n"), stall()},
            fails(X::E_HEAD, X::E_MALFORMED), refusesHead(BAD_VERSION))
            .uploading(LARGE)
            .times(SHORT),
        Row("UploadResponseStall", "falls silent within an early response",
            {request(), send("HTTP/1.1 413 X\r\n"), stall()}, fails(X::E_HEAD, X::E_TIMED_OUT),
            refusesHead("Unable to parse status line: HTTP/1.1413X"))
            .uploading(LARGE)
            .times(SHORT),
        Row("UploadInterimFlood", "sends interim responses without end while the request is sent",
            {request(), send("HTTP/1.1 102 X\r\n\r\n", 1000000)}, fails(X::E_HEAD, X::E_LIMIT), refuses(102))
            .uploading(LARGE)
            .times(1),
        Row("UploadInterimDrip", "drips an interim response while the request is sent",
            {request(), send("HTTP/1.1 102 X\r\nX: "), dripForever("x")}, fails(X::E_HEAD, X::E_TIMED_OUT),
            doesNotReturn())
            .uploading(LARGE)
            .times(SHORT),
    };
}

std::vector<Row> expectations()
{
    const std::string ready = "HTTP/1.1 100 Continue\r\n\r\n";
    return {
        Row("ContinueSilence", "says nothing to the expectation, and then responds",
            {request(), take(1000), send(WHOLE)}, gives(200, "ok"), returns(200, "ok"))
            .uploading(1000)
            .expecting(0.2),
        Row("ContinueRefused", "refuses the expectation",
            {request(), send("HTTP/1.1 417 X\r\nContent-Length: 0\r\n\r\n")}, gives(417, ""), refuses(417))
            .uploading(1000)
            .expecting(5),
        Row("ContinueThenRefused", "asks for the content and refuses it",
            {request(), send(ready), take(1000), send(TOO_LARGE)}, gives(413, "no"), refuses(100))
            .uploading(1000)
            .expecting(5),
        Row("ContinueAndAccepted", "accepts the request without its content", {request(), send(WHOLE)},
            fails(X::E_SEND, X::E_CUT), returns(200, "ok"))
            .uploading(1000)
            .expecting(5),
        Row("ContinueAndClose", "closes when it has the expectation", {request(), shut(), stall()},
            fails(X::E_SEND, X::E_CUT), refusesHead(NO_STATUS_LINE))
            .uploading(1000)
            .expecting(5),
        Row("ContinueAndStall", "asks for the content and does not read it", {request(), send(ready), stall()},
            fails(X::E_SEND, X::E_TIMED_OUT), refuses(100))
            .uploading(LARGE)
            .expecting(5)
            .times(SHORT),
        Row("ContinueDrip", "drips its interim response", {request(), dripForever("HTTP/1.1 100 C")},
            fails(X::E_HEAD, X::E_TIMED_OUT), doesNotReturn())
            .uploading(1000)
            .expecting(5)
            .times(SHORT),
    };
}

} // namespace

std::vector<Row> uploadRows()
{
    std::vector<Row> rows;
    for (auto* make : {unread, early, expectations})
    {
        for (Row& row : make())
        {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace hostile
