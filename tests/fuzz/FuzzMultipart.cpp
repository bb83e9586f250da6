#include "FuzzTarget.hpp"

#include "blocxx/Exception.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/Content.hpp"

#include <sstream>

using namespace ZOLNS2;

// The body of a multipart response: whatever it contains, the parts hold no more bytes than were sent.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string body = zol_fuzz::withEqualsAfterSemicolons(zol_fuzz::textOf(data, size));
    std::istringstream input("HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=\"b b\"\r\n\r\n" + body);
    HTTP::Response response;
    try
    {
        input >> response;
    }
    catch (const blocxx::Exception&)
    {
        return 0;
    }
    std::size_t total = 0;
    while (const MIME::ContentRef part = response.getNextPart())
    {
        zol_fuzz::check(part->hasContentLength(), "a part in memory knows its length");
        total += part->getContentLength();
    }
    zol_fuzz::check(total <= body.size(), "the parts are cut out of the body");
    return 0;
}
