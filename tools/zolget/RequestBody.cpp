#include "RequestBody.hpp"

#include "ExitStatus.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

[[noreturn]] void fail(const std::string& file, const std::string& reason)
{
    throw Failure(ExitStatus::LOCAL_FILE, "cannot send " + file + ": " + reason);
}

/// Checks that a file can be sent. @return whether it has any bytes
bool checkReadable(const std::string& file)
{
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
    {
        fail(file, std::strerror(errno));
    }
    struct stat status = {};
    const bool isRegular = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    char byte = 0;
    const ssize_t count = isRegular ? ::read(descriptor, &byte, 1) : 0;
    const int error = errno;
    ::close(descriptor);
    if (count < 0)
    {
        fail(file, std::strerror(error));
    }
    // The files that the kernel makes up, as in /proc, claim to be empty.
    if (!isRegular || (status.st_size == 0 && count > 0))
    {
        fail(file, "its length is not known in advance; copy it into a regular file first");
    }
    return count > 0;
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
        // Every empty file would be an empty read in the middle of the body, and the number of those in a row is
        // limited.
        if (checkReadable(file))
        {
            names.push_back(file);
        }
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
        fail("the files", error.getMessage());
    }
}

mime::ContentRef makePart(const PartOption& part)
{
    const mime::ContentRef content = part.isFile ? makeFiles({part.value}) : makeText(part.value);
    const std::size_t slash = part.type.find('/');
    const mime::ContentTypeHeader type(part.type.substr(0, slash), part.type.substr(slash + 1), {});
    return mime::ContentRef(new FixedLengthContent(content, type, lengthOf(content)));
}

/// A boundary that no part contains, for 128 random bits cannot be guessed.
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

RequestBodyRef makeRequestBody(const Options& options)
{
    if (!options.hasBody())
    {
        return RequestBodyRef();
    }
    const mime::ContentRef content = makeContent(options);
    const std::size_t length = lengthOf(content);
    // The library's copy of an empty body would mark the connection as failed.
    return length == 0 ? RequestBodyRef()
                       : RequestBodyRef(new FixedLengthContent(content, content->getContentType(), length));
}

} // namespace zolget
