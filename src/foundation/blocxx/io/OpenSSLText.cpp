#include "io/OpenSSLText.hpp"

#include <openssl/err.h>

#include <cstring>

namespace blocxx
{

namespace
{

String reasonOf(unsigned long error)
{
    if (ERR_SYSTEM_ERROR(error))
    {
        return std::strerror(ERR_GET_REASON(error));
    }
    if (const char* reason = ERR_reason_error_string(error))
    {
        return reason;
    }
    char text[256];
    ERR_error_string_n(error, text, sizeof text);
    return text;
}

} // namespace

String takeOpenSSLErrors()
{
    String all;
    const char* data = nullptr;
    int flags = 0;
    while (const unsigned long error = ERR_get_error_all(nullptr, nullptr, nullptr, &data, &flags))
    {
        if (!all.empty())
        {
            all += "; ";
        }
        all += reasonOf(error);
        if ((flags & ERR_TXT_STRING) != 0 && data != nullptr && *data != '\0')
        {
            all += " (";
            all += data;
            all += ")";
        }
    }
    return all;
}

} // namespace blocxx
