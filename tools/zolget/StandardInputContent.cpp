#include "StandardInputContent.hpp"

#include "zol/mime/ContentException.hpp"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace zolget
{

namespace mime = ZOLNS2::MIME;

namespace
{

class Reading : public mime::ContentStreamState
{
};

[[noreturn]] void fail(const std::string& message, int error = blocxx::Exception::UNKNOWN_ERROR_CODE)
{
    throw mime::ContentException("zolget", __LINE__, message.c_str(), error);
}

} // namespace

StandardInputContent::~StandardInputContent() = default;

mime::ContentTypeHeader StandardInputContent::getContentType()
{
    return {"application", "octet-stream", {}};
}

std::size_t StandardInputContent::getContentLength()
{
    fail("the length of standard input is not known");
}

std::size_t StandardInputContent::getData(char* buffer, std::size_t size, const mime::ContentStreamStateRef& /*state*/)
{
    // A terminal tells the end only once.
    while (!m_hasEnded)
    {
        waitForInput();
        const ssize_t count = ::read(STDIN_FILENO, buffer, size);
        if (count > 0)
        {
            return static_cast<std::size_t>(count);
        }
        if (count == 0)
        {
            m_hasEnded = size > 0;
            return m_hasEnded ? mime::END_OF_DATA : 0;
        }
        if (errno != EINTR && errno != EAGAIN)
        {
            fail(std::string("cannot read standard input: ") + std::strerror(errno), errno);
        }
    }
    return mime::END_OF_DATA;
}

void StandardInputContent::waitForInput() const
{
    pollfd waiting{STDIN_FILENO, POLLIN, 0};
    for (;;)
    {
        const int wait = m_deadline.remainingMilliseconds();
        if (::poll(&waiting, 1, wait) > 0)
        {
            return;
        }
        if (wait == 0)
        {
            fail("standard input had no end by then", ETIMEDOUT);
        }
    }
}

mime::ContentStreamStateRef StandardInputContent::createInitialStreamState() const
{
    if (m_isBegun)
    {
        fail("standard input can be read once only");
    }
    m_isBegun = true;
    return mime::ContentStreamStateRef(new Reading);
}

bool StandardInputContent::endedBadly(const mime::ContentStreamStateRef& /*state*/) const
{
    return false;
}

} // namespace zolget
