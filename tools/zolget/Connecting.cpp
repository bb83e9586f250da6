#include "Connecting.hpp"

#include "ExitStatus.hpp"
#include "Text.hpp"
#include "TlsFailure.hpp"

#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/SocketException.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

using ContextRef = blocxx::IntrusiveReference<blocxx::SSLClientCtx>;

void checkReadable(const std::string& file)
{
    if (!file.empty() && ::access(file.c_str(), R_OK) != 0)
    {
        throw Failure(ExitStatus::LOCAL_FILE, "cannot read " + file + ": " + std::strerror(errno));
    }
}

blocxx::SocketAddress resolve(const Url& url)
{
    try
    {
        return blocxx::SocketAddress::getByName(url.host, url.port);
    }
    catch (const blocxx::UnknownHostException& error)
    {
        throw Failure(ExitStatus::RESOLVE, "cannot find the host " + url.host + ": " + printable(error.getMessage()) +
                                               "; check the spelling of the name and the name service of this machine");
    }
}

} // namespace

ContextRef makeTlsContext(const Options& options)
{
    if (!options.url.isSecure)
    {
        return ContextRef();
    }
    checkReadable(options.trustStore);
    checkReadable(options.certificateFile);
    checkReadable(options.keyFile);
    blocxx::SSLOpts settings;
    settings.verifyMode = options.verify ? blocxx::SSLOpts::MODE_REQUIRED : blocxx::SSLOpts::MODE_DISABLED;
    settings.trustStore = options.trustStore;
    settings.certfile = options.certificateFile;
    settings.keyfile = options.keyFile;
    try
    {
        return ContextRef(new blocxx::SSLClientCtx(settings));
    }
    catch (const blocxx::SSLException& error)
    {
        throw Failure(ExitStatus::TLS, "cannot prepare a secure connection to " + options.url.authority() + ": " +
                                           describeContextFailure(error.getMessage()));
    }
}

http::HTTPConnection connect(const Options& options, const ContextRef& context)
{
    const blocxx::SocketAddress address = resolve(options.url);
    try
    {
        return http::HTTPConnection(address, context, blocxx::Timeout::relative(options.connectTimeout));
    }
    catch (const blocxx::SSLException& error)
    {
        throw Failure(ExitStatus::TLS, "no secure connection to " + options.url.authority() + ": " +
                                           describeHandshakeFailure(error.getMessage()));
    }
    catch (const blocxx::SocketException& error)
    {
        const bool isLate = error.getErrorCode() == ETIMEDOUT;
        throw Failure(ExitStatus::CONNECT,
                      "cannot connect to " + options.url.authority() + ": " + printable(error.getMessage()) +
                          (isLate ? "; --connect-timeout allows more time"
                                  : "; check the host and the port, and that the server is running"));
    }
}

} // namespace zolget
