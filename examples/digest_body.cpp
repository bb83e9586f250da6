// Shows the SHA-256 digest of what a URL names, taken as the body arrives: digest_body URL
#include "zol/http.hpp"

#include <openssl/bio.h>
#include <openssl/evp.h>

#include <array>
#include <cstdio>
#include <memory>
#include <stdexcept>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 2)
    {
        std::fputs("usage: digest_body URL\n", stderr);
        return 2;
    }
    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build());
    if (!response.isSuccess())
        throw std::runtime_error(response.getStatusLine().toString().c_str());

    // What is read from the chain passes through the digest.
    const std::unique_ptr<BIO, void (*)(BIO*)> chain(BIO_new(BIO_f_md()), BIO_free_all);
    BIO_set_md(chain.get(), EVP_sha256());
    BIO_push(chain.get(), MIME::BIO_new_httpcontent(response.getContent()));
    std::array<char, 65536> block{};
    while (BIO_read(chain.get(), block.data(), block.size()) >= 0) // -1 is the end; 0 means "nothing this time"
    {
    }
    if (response.bodyEnd() != HTTP::ExchangeResponse::E_COMPLETE)
        throw std::runtime_error(response.bodyEndText().c_str());

    std::array<char, EVP_MAX_MD_SIZE> digest{};
    const int length = BIO_gets(chain.get(), digest.data(), digest.size());
    for (int i = 0; i < length; ++i)
        std::printf("%02x", static_cast<unsigned char>(digest[static_cast<std::size_t>(i)]));
    std::printf("\n");
    return 0;
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "digest_body: %s\n", error.what());
    return 1;
}
