// Fetches an https URL and shows the server a certificate of one's own, all files in PEM:
// fetch_with_certificate URL AUTHORITY.pem CERTIFICATE.pem KEY.pem
#include "zol/http.hpp"

#include <iostream>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 5)
    {
        std::cerr << "usage: fetch_with_certificate URL AUTHORITY.pem CERTIFICATE.pem KEY.pem\n";
        return 2;
    }
    blocxx::SSLOpts tls;
    tls.trustStore = argv[2];
    tls.certfile = argv[3]; // with the chain above it
    tls.keyfile = argv[4];  // without a pass phrase
    const blocxx::SSLClientCtxRef context(new blocxx::SSLClientCtx(tls));
    const HTTP::Request request = HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).sslContext(context).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request);
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "fetch_with_certificate: " << error.what() << '\n';
    return 1;
}
