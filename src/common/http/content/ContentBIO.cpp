#include "zol/mime/ContentBIO.hpp"

#include <memory>
#include <new>

namespace ZOLNS2::MIME
{

namespace
{

/// What a BIO owns.
struct Reading
{
    ContentRef content;
    ContentStreamStateRef state;
};

Reading* readingOf(BIO* bio)
{
    return static_cast<Reading*>(BIO_get_data(bio));
}

int http_content_bio_create(BIO* bio)
{
    auto* const reading = bio == nullptr ? nullptr : new (std::nothrow) Reading;
    if (reading == nullptr)
    {
        return 0;
    }
    BIO_set_data(bio, reading);
    BIO_set_init(bio, 1);
    return 1;
}

int http_content_bio_destroy(BIO* bio)
{
    if (bio == nullptr)
    {
        return 0;
    }
    delete readingOf(bio);
    return 1;
}

int http_content_bio_read(BIO* bio, char* out, int length)
{
    Reading* const reading = bio == nullptr ? nullptr : readingOf(bio);
    if (reading == nullptr || !reading->content)
    {
        return -1;
    }
    if (!reading->state)
    {
        reading->state = reading->content->createInitialStreamState();
    }
    // Deliberate: a negative length is not checked. BIO_read lets none through.
    const size_t count = reading->content->getData(out, static_cast<size_t>(length), reading->state);
    return count == END_OF_DATA ? -1 : static_cast<int>(count);
}

long http_content_bio_ctrl(BIO*, int, long, void*)
{
    return 0;
}

struct FreeMethod
{
    void operator()(BIO_METHOD* method) const { BIO_meth_free(method); }
};

BIO_METHOD* makeMethod()
{
    std::unique_ptr<BIO_METHOD, FreeMethod> method(BIO_meth_new(BIO_TYPE_DESCRIPTOR, "HTTP Content BIO"));
    if (!method || BIO_meth_set_read(method.get(), http_content_bio_read) == 0 ||
        BIO_meth_set_ctrl(method.get(), http_content_bio_ctrl) == 0 ||
        BIO_meth_set_create(method.get(), http_content_bio_create) == 0 ||
        BIO_meth_set_destroy(method.get(), http_content_bio_destroy) == 0)
    {
        throw std::bad_alloc();
    }
    return method.release();
}

struct FreeBIO
{
    void operator()(BIO* bio) const { BIO_free(bio); }
};

} // namespace

BIO_METHOD* BIO_s_httpcontent()
{
    static BIO_METHOD* const http_content_bio = makeMethod();
    return http_content_bio;
}

BIO* BIO_new_httpcontent(const ContentRef& content)
{
    std::unique_ptr<BIO, FreeBIO> bio(BIO_new(BIO_s_httpcontent()));
    Reading* const reading = bio ? readingOf(bio.get()) : nullptr;
    if (reading == nullptr || !content)
    {
        return bio.release();
    }
    reading->content = content;
    reading->state = content->createInitialStreamState();
    return bio.release();
}

} // namespace ZOLNS2::MIME
