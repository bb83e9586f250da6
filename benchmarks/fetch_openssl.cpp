// usage: fetch_openssl PORT TARGET COUNT trust=FILE
// The least that a client can do over TLS with a verified peer, COUNT times: connect, shake hands, send a request,
// receive until the end, close the session.
#include "FetchArguments.hpp"
#include "Loopback.hpp"
#include "PeakMemory.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <memory>

namespace
{

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;
using Session = std::unique_ptr<SSL, decltype(&SSL_free)>;

bool fetch(SSL_CTX* context, int connection, const std::string& request, std::vector<char>& buffer, size_t& total)
{
    const Session session(SSL_new(context), SSL_free);
    X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(session.get()), "127.0.0.1");
    SSL_set_fd(session.get(), connection);
    if (SSL_connect(session.get()) != 1 ||
        SSL_write(session.get(), request.data(), static_cast<int>(request.size())) <= 0)
    {
        return false;
    }
    for (int count = 0; (count = SSL_read(session.get(), buffer.data(), static_cast<int>(buffer.size()))) > 0;)
    {
        total += static_cast<size_t>(count);
    }
    SSL_shutdown(session.get());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const FetchArguments arguments(argc, argv, "[trust=FILE]");
    const Context context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    SSL_CTX_load_verify_locations(context.get(), arguments.trust.c_str(), nullptr);
    const std::string request = "GET " + arguments.target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
    const sockaddr_in address = loopbackAddress(arguments.port);
    std::vector<char> buffer(65536);
    size_t total = 0;
    for (long count = arguments.count; count > 0; --count)
    {
        const int connection = connectTo(address);
        if (!fetch(context.get(), connection, request, buffer, total))
        {
            ERR_print_errors_fp(stderr);
            return 1;
        }
        ::close(connection);
    }
    std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
}
