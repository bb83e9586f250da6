#include "blocxx/ExceptionDetail.hpp"

#include <cstring>

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
    // The returned text need not be in the buffer: this is the GNU form of the function.
    const char* text = ::strerror_r(errnum, buffer, size);
    if (text == nullptr || *text == '\0')
    {
        text = "[Could not create error message for error code]";
    }
    if (text != buffer)
    {
        const std::size_t length = ::strnlen(text, size - 1);
        std::memmove(buffer, text, length);
        buffer[length] = '\0';
    }
}

FormatMsg::FormatMsg(const char* msg, int errnum) : m_text(msg == nullptr ? "" : msg)
{
    char systemText[SYSTEM_TEXT_SIZE];
    portable_strerror_r(errnum, systemText, SYSTEM_TEXT_SIZE);
    m_text.append(": ").append(std::to_string(errnum)).append("(").append(systemText).append(")");
}

FormatMsg::~FormatMsg() = default;

} // namespace blocxx::ExceptionDetail
