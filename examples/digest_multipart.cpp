// Writes files as one multipart/mixed body to standard output, and the body's SHA-256 digest, taken on the way, to
// standard error: digest_multipart FILE...

#include "zol/http.hpp"

#include <openssl/bio.h>
#include <openssl/evp.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

namespace
{

struct FreeChain
{
    void operator()(BIO* bio) const { BIO_free_all(bio); }
};

ZOLNS2::MIME::ContentRef bodyOf(char** begin, char** end)
{
    using namespace ZOLNS2::MIME;
    const blocxx::IntrusiveReference<MultipartMixedContent> body(
        new MultipartMixedContent("=_boundary_of_digest_multipart"));
    for (; begin != end; ++begin)
    {
        if (!std::filesystem::is_regular_file(*begin) || !std::ifstream(*begin))
        {
            throw std::runtime_error(std::string("cannot open ") + *begin);
        }
        body->addPart(ContentRef(new FileApplicationOctetStreamContent(blocxx::String(*begin))));
    }
    return body;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
    {
        std::cerr << "usage: digest_multipart FILE...\n";
        return 2;
    }
    try
    {
        const std::unique_ptr<BIO, FreeChain> chain(BIO_new(BIO_f_md()));
        BIO_set_md(chain.get(), EVP_sha256());
        BIO_push(chain.get(), ZOLNS2::MIME::BIO_new_httpcontent(bodyOf(argv + 1, argv + argc)));

        std::array<char, 65536> block{};
        for (int count = BIO_read(chain.get(), block.data(), block.size()); count > 0;
             count = BIO_read(chain.get(), block.data(), block.size()))
        {
            std::cout.write(block.data(), count);
        }

        std::array<char, EVP_MAX_MD_SIZE> digest{};
        const int length = BIO_gets(chain.get(), digest.data(), digest.size());
        for (int i = 0; i < length; ++i)
        {
            std::fprintf(stderr, "%02x", static_cast<unsigned char>(digest[static_cast<size_t>(i)]));
        }
        std::fprintf(stderr, "\n");
        return std::cout.flush() ? 0 : 1;
    }
    catch (const std::exception& error)
    {
        std::cerr << "digest_multipart: " << error.what() << '\n';
        return 1;
    }
}
