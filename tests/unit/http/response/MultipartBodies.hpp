#pragma once

#include "support/TextOf.hpp"

#include "zol/http/Response.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"

#include <string>
#include <vector>

namespace zol_test
{

/// A response that has its head, and whose body is about to be read.
inline ZOLNS2::HTTP::Response multipartResponse(const char* parameters = "; boundary=B")
{
    ZOLNS2::HTTP::Response response;
    response.contentType.setContentTypeString(blocxx::String("Content-Type: multipart/mixed") + parameters);
    return response;
}

/// How a part was read: its kind, a colon, its bytes.
inline std::string described(const ZOLNS2::MIME::ContentRef& content)
{
    return (content.cast_to<ZOLNS2::MIME::TextPlainContent>()                ? "text:"
            : content.cast_to<ZOLNS2::MIME::ApplicationOctetStreamContent>() ? "octets:"
                                                                             : "other:") +
           textOf(content);
}

inline std::vector<std::string> described(const ZOLNS2::MIME::Contents& contents)
{
    std::vector<std::string> all;
    for (const ZOLNS2::MIME::ContentRef& content : contents)
    {
        all.push_back(described(content));
    }
    return all;
}

inline const std::string TWO_PARTS = "a preamble\r\n"
                                     "--B\r\nContent-Type: text/plain\r\n\r\none\r\n"
                                     "--B\r\nContent-Type: application/octet-stream\r\n\r\ntwo\r\n"
                                     "--B--\r\nan epilogue\r\n";

} // namespace zol_test
