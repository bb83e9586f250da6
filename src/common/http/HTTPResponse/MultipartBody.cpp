#include "HTTPResponse/BodyReaders.hpp"
#include "HTTPResponse/SourceUnit.hpp"

#include "zol/mime/ContentException.hpp"

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

void parseMultipartContent(std::istream&, MIME::Contents&, const MIME::ContentTypeHeader&)
{
    throw MIME::ContentException(SOURCE_UNIT, __LINE__, "Reading multipart bodies is not supported yet", -1, nullptr,
                                 -1);
}

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
