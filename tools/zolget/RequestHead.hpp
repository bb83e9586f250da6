#pragma once

#include "Destination.hpp"
#include "Options.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "zol/http/Request.hpp"
#include "zol/mime/Content.hpp"

namespace zolget
{

/// What belongs to a request beside the options.
struct RequestParts
{
    ZOLNS2::MIME::ContentRef body;            ///< null for none
    blocxx::SSLClientCtxRef tlsContext;       ///< null unless https can occur
    bool keepsConnection = false;             ///< whether another request may follow on the connection
    const Destination* destination = nullptr; ///< null if it asks for nothing of its own
};

/// The request for a URL: the headers that a server needs and the user did not give, then those that the user gave.
/// Throws Failure (USAGE) if they cannot be sent.
ZOLNS2::HTTP::Request makeRequest(const Options& options, const ZOLNS2::HTTP::Url& url, const RequestParts& parts);

} // namespace zolget
