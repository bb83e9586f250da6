#include "Body.hpp"

#include "ExitStatus.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>

namespace zolget
{

namespace mime = ZOLNS2::MIME;

namespace
{

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

mime::ContentRef makeText(const std::string& text)
{
    return mime::ContentRef(new mime::TextPlainContent(blocxx::String(text.data(), text.size())));
}

mime::ContentRef makeFiles(const std::vector<std::string>& files)
{
    blocxx::Array<blocxx::String> names;
    for (const std::string& file : files)
    {
        checkReadable(file);
        names.push_back(file);
    }
    return mime::ContentRef(new mime::FileApplicationOctetStreamContent(names));
}

std::size_t lengthOf(const mime::ContentRef& content)
{
    try
    {
        return content->getContentLength();
    }
    catch (const mime::ContentException& error)
    {
        fail("the given files", error.getMessage());
    }
}

mime::ContentRef makePart(const PartOption& part)
{
    const mime::ContentRef content = part.isFile ? makeFiles({part.value}) : makeText(part.value);
    const std::size_t slash = part.type.find('/');
    const mime::ContentTypeHeader type(part.type.substr(0, slash), part.type.substr(slash + 1), {});
    return mime::ContentRef(new Body(content, type, lengthOf(content), 1));
}

/// A boundary that no part contains: 128 random bits see to that.
std::string makeBoundary()
{
    std::random_device random;
    std::ostringstream boundary;
    boundary << "zolget-" << std::hex << std::setfill('0');
    for (int word = 0; word < 4; ++word)
    {
        boundary << std::setw(8) << random();
    }
    return boundary.str();
}

mime::ContentRef makeMultipart(const std::vector<PartOption>& parts)
{
    const blocxx::IntrusiveReference<mime::MultipartMixedContent> content(
        new mime::MultipartMixedContent(makeBoundary()));
    for (const PartOption& part : parts)
    {
        content->addPart(makePart(part));
    }
    return content;
}

mime::ContentRef makeContent(const Options& options)
{
    if (options.data.has_value())
    {
        return makeText(*options.data);
    }
    return options.parts.empty() ? makeFiles(options.dataFiles) : makeMultipart(options.parts);
}

} // namespace

Body::Body(const mime::ContentRef& content, const mime::ContentTypeHeader& type, std::size_t length,
           std::size_t maximalGaps)
    : m_content(content), m_type(type), m_length(length), m_maximalGaps(maximalGaps)
{
}

mime::ContentTypeHeader Body::getContentType()
{
    return m_type;
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
        return ZOLNS2::MIME::END_OF_DATA;
    }
    const std::size_t wanted = std::min(size, cursor->m_remaining);
    std::size_t count = 0;
    // Bounded, since a file that has become unreadable meanwhile answers 0 for ever.
    for (std::size_t gaps = 0; count == 0 && wanted > 0 && gaps <= m_maximalGaps; ++gaps)
    {
        count = m_content->getData(buffer, wanted, cursor->m_inner);
    }
    if (count == ZOLNS2::MIME::END_OF_DATA || (count == 0 && wanted > 0))
    {
        m_wasShort = true;
        cursor->m_remaining = 0;
        return ZOLNS2::MIME::END_OF_DATA;
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
    const std::size_t length = lengthOf(content);
    // The library's copy of a body without bytes would mark the connection as failed.
    return length == 0 ? BodyRef()
                       : BodyRef(new Body(content, content->getContentType(), length, options.dataFiles.size() + 1));
}

} // namespace zolget
