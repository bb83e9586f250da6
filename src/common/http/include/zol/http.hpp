#pragma once

/// @file Everything that the library offers.

#include "zol/http/HTTPException.hpp"
#include "zol/http/Headers.hpp"
#include "zol/http/MIMEContentIStream.hpp"
#include "zol/http/Parameter.hpp"
#include "zol/http/PayloadIStream.hpp"
#include "zol/http/Request.hpp"
#include "zol/http/RequestLine.hpp"
#include "zol/http/StatusLine.hpp"
#include "zol/http/Version.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/ContentTypeHeader.hpp"
#include "zol/mime/OctetStreamContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/text/TormudaTextOperations.hpp"
#include "zol/text/untokenize.hpp"
