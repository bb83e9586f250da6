#pragma once

#include "connection/TransferCoding.hpp"

#include "blocxx/LogAppender.hpp"
#include "zol/http/HTTPTransferDecoder.hpp"
#include "zol/mime/UnbufferedContent.hpp"

namespace ZOLNS2::MIME
{

/// Attaches a body that has still to be read. The bytes of most bodies go through their decoder unchanged; it is made when
/// somebody asks for it then, which most readers do not. Where something is logged it is made at once, with its records.
class UnbufferedContentStore
{
public:
    static ContentRef attach(HTTP::HTTPConnection& connection, const HTTP::Headers& headers,
                             const ContentTypeHeader& contentType, unsigned long length)
    {
        if (blocxx::LogAppender::nothingIsLogged() && !HTTP::isChunked(HTTP::transferEncodingOf(headers)))
        {
            return ContentRef(new UnbufferedContent(connection, contentType, length));
        }
        return ContentRef(new UnbufferedContent(HTTP::getTransferDecoder(connection, headers), contentType, length));
    }
};

} // namespace ZOLNS2::MIME
