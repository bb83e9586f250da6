#include "TlsContext.hpp"

#include "Failure.hpp"
#include "TlsFailure.hpp"

#include "blocxx/SSLException.hpp"

#include <openssl/ssl.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zolget
{

namespace
{

void checkReadable(const std::string& file)
{
    if (!file.empty() && ::access(file.c_str(), R_OK) != 0)
    {
        throw Failure(ExitStatus::LOCAL_FILE, "cannot read " + file + ": " + std::strerror(errno));
    }
}

/// A redirect may lead to https. Without settings of the user's it gets the library's own context then.
bool mayNeedContext(const Options& options)
{
    return (options.followRedirects && options.hasTlsSettings()) ||
           std::any_of(options.urls.begin(), options.urls.end(), [](const auto& url) { return url.isSecure(); });
}

} // namespace

blocxx::SSLClientCtxRef makeTlsContext(const Options& options)
{
    if (!mayNeedContext(options))
    {
        return blocxx::SSLClientCtxRef();
    }
    checkReadable(options.trustStore);
    checkReadable(options.revocationLists);
    checkReadable(options.certificateFile);
    checkReadable(options.keyFile);
    blocxx::SSLOpts settings;
    settings.verifyMode = options.verify ? blocxx::SSLOpts::MODE_REQUIRED : blocxx::SSLOpts::MODE_DISABLED;
    settings.trustStore = options.trustStore;
    settings.crls = options.revocationLists;
    settings.certfile = options.certificateFile;
    settings.keyfile = options.keyFile;
    settings.minimumVersion = options.needsTls13 ? TLS1_3_VERSION : TLS1_2_VERSION;
    settings.ciphers = options.ciphers;
    settings.cipherSuites = options.cipherSuites;
    if (!options.announcesHttp)
    {
        settings.applicationProtocols.clear();
    }
    try
    {
        return blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx(settings));
    }
    catch (const blocxx::SSLException& error)
    {
        throw Failure(ExitStatus::TLS,
                      "cannot prepare a secure connection: " + describeContextFailure(error.getMessage()));
    }
}

} // namespace zolget
