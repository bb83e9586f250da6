#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

#include <cstring>
#include <string>

namespace blocxx::ExceptionDetail
{

namespace
{

constexpr unsigned SYSTEM_TEXT_SIZE = 1024;

} // namespace

void portable_strerror_r(int errnum, char* buffer, unsigned size)
{
    if (size == 0)
    {
        return;
    }
    // The text may stand elsewhere than in the buffer: this is the GNU form of the function.
    const char* const text = ::strerror_r(errnum, buffer, size);
    const char* const answer =
        text == nullptr || *text == '\0' ? "[Could not create error message for error code]" : text;
    if (answer != buffer)
    {
        const std::size_t length = ::strnlen(answer, size - 1);
        std::memmove(buffer, answer, length);
        buffer[length] = '\0';
    }
}

FormatMsg::FormatMsg(const char* msg, int errnum)
{
    char systemText[SYSTEM_TEXT_SIZE];
    portable_strerror_r(errnum, systemText, SYSTEM_TEXT_SIZE);
    String text(msg);
    text.concat(": ").concat(String(errnum)).concat('(').concat(systemText).concat(')');
    m_text.reset(Exception::dupString(text.c_str()));
}

FormatMsg::~FormatMsg() = default;

const char* FormatMsg::get() const noexcept
{
    return m_text == nullptr ? "" : m_text.get();
}

} // namespace blocxx::ExceptionDetail
