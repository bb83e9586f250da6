#include "Body.hpp"

#include "ExitStatus.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zolget
{

namespace mime = ZOLNS2::MIME;

namespace
{

constexpr std::size_t END_OF_DATA = static_cast<std::size_t>(-1);

class BodyState : public mime::ContentStreamState
{
public:
    BodyState(const mime::ContentStreamStateRef& inner, std::size_t length) : m_inner(inner), m_remaining(length) {}

    mime::ContentStreamStateRef m_inner;
    std::size_t m_remaining;
};

[[noreturn]] void fail(const std::string& file, const std::string& reason)
{
    throw Failure(ExitStatus::LOCAL_FILE, "cannot send " + file + ": " + reason);
}

void checkReadable(const std::string& file)
{
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
    {
        fail(file, std::strerror(errno));
    }
    struct stat status = {};
    const bool isRegular = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    ::close(descriptor);
    if (!isRegular)
    {
        fail(file, "it is no regular file, so its length cannot be announced; copy it into a file first");
    }
}

mime::ContentRef makeContent(const Options& options)
{
    if (options.data.has_value())
    {
        return mime::ContentRef(new mime::TextPlainContent(blocxx::String(options.data->data(), options.data->size())));
    }
    blocxx::Array<blocxx::String> files;
    for (const std::string& file : options.dataFiles)
    {
        checkReadable(file);
        files.push_back(file);
    }
    return mime::ContentRef(new mime::FileApplicationOctetStreamContent(files));
}

} // namespace

Body::Body(const mime::ContentRef& content, std::size_t length, std::size_t maximalGaps)
    : m_content(content), m_length(length), m_maximalGaps(maximalGaps)
{
}

mime::ContentTypeHeader Body::getContentType()
{
    return m_content->getContentType();
}

bool Body::hasContentLength()
{
    return true;
}

std::size_t Body::getContentLength()
{
    return m_length;
}

std::size_t Body::getData(char* buffer, std::size_t size, const mime::ContentStreamStateRef& state)
{
    const auto cursor = state.cast_to<BodyState>();
    if (cursor->m_remaining == 0)
    {
        return END_OF_DATA;
    }
    const std::size_t wanted = std::min(size, cursor->m_remaining);
    std::size_t count = 0;
    // Bounded, since a file that has become unreadable meanwhile answers 0 for ever.
    for (std::size_t gaps = 0; count == 0 && wanted > 0 && gaps <= m_maximalGaps; ++gaps)
    {
        count = m_content->getData(buffer, wanted, cursor->m_inner);
    }
    if (count == END_OF_DATA || (count == 0 && wanted > 0))
    {
        m_wasShort = true;
        cursor->m_remaining = 0;
        return END_OF_DATA;
    }
    cursor->m_remaining -= count;
    m_wasTaken = m_wasTaken || cursor->m_remaining == 0;
    return count;
}

mime::ContentStreamStateRef Body::createInitialStreamState() const
{
    return mime::ContentStreamStateRef(new BodyState(m_content->createInitialStreamState(), m_length));
}

BodyRef makeBody(const Options& options)
{
    if (!options.hasBody())
    {
        return BodyRef();
    }
    const mime::ContentRef content = makeContent(options);
    std::size_t length = 0;
    try
    {
        length = content->getContentLength();
    }
    catch (const mime::ContentException& error)
    {
        fail("the given files", error.getMessage());
    }
    // The library's copy of a body without bytes would mark the connection as failed.
    return length == 0 ? BodyRef() : BodyRef(new Body(content, length, options.dataFiles.size() + 1));
}

} // namespace zolget
