#include "FuzzTarget.hpp"

#include "zol/mime/ContentException.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

using namespace ZOLNS2;

// A content type line: refused only if it has no colon; the first of equally named parameters is the one found.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string line = zol_fuzz::withEqualsAfterSemicolons(zol_fuzz::textOf(data, size));
    MIME::ContentTypeHeader header;
    try
    {
        header.setContentTypeString(blocxx::String(line.c_str(), line.size()));
    }
    catch (const MIME::ContentException&)
    {
        zol_fuzz::check(line.find(':') == std::string::npos, "a line with a colon is accepted");
        return 0;
    }
    zol_fuzz::check(line.find(':') != std::string::npos, "a line without colon is refused");
    const blocxx::Array<HTTP::Parameter> parameters = header.getParameters();
    if (!parameters.empty())
    {
        zol_fuzz::check(header.getParameterValue(parameters[0].name).equals(parameters[0].value),
                        "the first parameter is found by its name");
    }
    toString(header);
    return 0;
}
