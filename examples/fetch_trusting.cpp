// Fetches an https URL whose server has a certificate of a private authority: fetch_trusting URL AUTHORITY.pem
#include "zol/http.hpp"

#include <iostream>
#include <stdexcept>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: fetch_trusting URL AUTHORITY.pem\n";
        return 2;
    }
    const HTTP::Url url(argv[1]);
    if (!url.isSecure())
        throw std::invalid_argument("this is not an https URL");

    blocxx::SSLOpts tls;
    tls.trustStore = argv[2]; // this authority, and no longer those of the system
    const blocxx::SSLClientCtxRef context(new blocxx::SSLClientCtx(tls));
    const HTTP::Request request = HTTP::RequestBuilder("GET", url).sslContext(context).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request);
    if (const auto facts = response.getConnection().getTlsFacts())
        std::cerr << facts->version << ", certificate of " << facts->subject << " by " << facts->issuer << '\n';
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "fetch_trusting: " << error.what() << '\n';
    return 1;
}
