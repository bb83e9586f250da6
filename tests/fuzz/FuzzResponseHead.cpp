#include "FuzzTarget.hpp"

#include "blocxx/Exception.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/Content.hpp"

#include <sstream>

using namespace ZOLNS2;

// A whole response read from a stream: it is either read or refused by an exception of the library; what was read is a
// success, and its contents can be pulled to their end.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream input(zol_fuzz::withEqualsAfterSemicolons(zol_fuzz::textOf(data, size)));
    HTTP::Response response;
    try
    {
        input >> response;
    }
    catch (const blocxx::Exception&)
    {
        return 0;
    }
    zol_fuzz::check(response.statusLine.statusCode / 100 == 2, "only a success is returned");
    while (const MIME::ContentRef part = response.getNextPart())
    {
        const MIME::ContentStreamStateRef state = part->createInitialStreamState();
        const std::size_t end = static_cast<std::size_t>(-1);
        char block[100];
        std::size_t total = 0;
        std::size_t count = 0;
        while ((count = part->getData(block, sizeof block, state)) != end)
        {
            zol_fuzz::check(count <= sizeof block, "a read stays within its buffer");
            total += count;
            zol_fuzz::check(total <= 4 * (size + 100) * 2, "a content has an end");
        }
    }
    return 0;
}
