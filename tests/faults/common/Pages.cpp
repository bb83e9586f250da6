#include "common/Servers.hpp"

namespace zol_faults
{

namespace
{

std::string numbers(std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; text.size() < size; ++i)
    {
        text += std::to_string(i) + (i % 10 == 9 ? '\n' : ' ');
    }
    text.resize(size);
    return text;
}

} // namespace

std::string page()
{
    return numbers(5000);
}

std::string largePage()
{
    return numbers(600000);
}

std::string firstPart()
{
    return "the first part, which is text";
}

std::string secondPart()
{
    return numbers(2000);
}

std::string multipartBody()
{
    return "preamble\r\n--B\r\nContent-Type: text/plain\r\n\r\n" + firstPart() +
           "\r\n--B\r\nContent-Type: application/octet-stream\r\nContent-Disposition: attachment\r\n\r\n" +
           secondPart() + "\r\n--B--\r\n";
}

std::string uploaded()
{
    return numbers(40000);
}

} // namespace zol_faults
