// Whole responses read from a stream, wherever they are cut and however they arrive.

#include "zol/http/Response.hpp"

#include "CutTable.hpp"
#include "Shown.hpp"

#include "zol/http/HTTPException.hpp"

#include <istream>

using namespace parsing_test;
using ZOLNS2::HTTP::Response;
using ZOLNS2::MIME::ContentRef;

namespace
{

std::string readResponse(GuardedInput& input)
{
    std::istream stream(&input);
    Response response;
    try
    {
        stream >> response;
    }
    catch (const ZOLNS2::HTTP::HTTPException& refusal)
    {
        return std::string("refused: ") + refusal.getMessage();
    }
    const ContentRef content = response.getNextPart();
    return textOf(response.statusLine.toString()) + " " + shown(response.headers) + " " +
           (content ? textOf(content->getContentType().getSubType()) + " " + textOf(content) : "none ");
}

} // namespace

TEST(EveryCut, OfAResponseWithAReasonIsRefusedUpToTheEndOfItsHead)
{
    const std::string unparsable = "refused: Unable to parse status line: ";
    expectOutcomes(
        {
            {"", "refused: Status lines in HTTP response are empty."},
            {"HTTP/1.", "refused: Unrecognizable HTTP version in response from HTTP server: %."},
            {"1 ", "refused: Unrecognizable status code () in response from HTTP server: HTTP/1.1"},
            {"20", "refused: Error response from http server: HTTP/1.1 % "},
            {"0 ", "HTTP/1.1 200   plain "}, // two words: taken as a head that was read, without a body
            {"OK", unparsable + "HTTP/1.1200%"},
            {"\r", "refused: Status lines in HTTP response are empty."},
            {"\nA: 1\r\n\r", unparsable + "HTTP/1.1200OK"},
            {"\n", "HTTP/1.1 200 OK a=1 plain "},
            {"b", "HTTP/1.1 200 OK a=1 plain "}, // a body of one byte is empty text
            {"ody", "HTTP/1.1 200 OK a=1 octet-stream b%"},
        },
        readResponse);
}

TEST(EveryCut, OfAResponseWithALongReasonIsTakenAsAHeadThatWasRead)
{
    expectOutcomes(
        {
            {"", "refused: Status lines in HTTP response are empty."},
            {"HTTP/1.", "refused: Unrecognizable HTTP version in response from HTTP server: %."},
            {"0 ", "refused: Unrecognizable status code () in response from HTTP server: HTTP/1.0"},
            {"20", "refused: Error response from http server: HTTP/1.0 % "},
            {"3 ", "HTTP/1.0 203   plain "},
            {"Not", "refused: Unable to parse status line: HTTP/1.0203%"},
            {" ", "refused: Unable to parse status line: HTTP/1.0203Not"},
            {"My", "HTTP/1.0 203 Not %  plain "},
            {"\r", "refused: Status lines in HTTP response are empty."},
            {"\n", "HTTP/1.0 203 Not My  plain "},
            {"B: 2\r", "HTTP/1.0 203 Not My  plain "},
            {"\n\r", "HTTP/1.0 203 Not My b=2 plain "},
            {"\n", "HTTP/1.0 203 Not My b=2 plain "},
        },
        readResponse);
}
