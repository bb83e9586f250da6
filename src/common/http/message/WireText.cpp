#include "message/WireText.hpp"

#include <cstring>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr std::size_t VERSION_SIZE = 11;

const char* versionAndLineEnd(const RequestLine& line)
{
    return line.version == HTTP_1_0 ? " HTTP/1.0\r\n" : " HTTP/1.1\r\n";
}

char* put(char* to, const blocxx::String& text)
{
    std::memcpy(to, text.c_str(), text.length());
    return to + text.length();
}

char* put(char* to, char first, char second)
{
    to[0] = first;
    to[1] = second;
    return to + 2;
}

} // namespace

void appendWireText(std::string& text, const RequestLine& line)
{
    text.append(line.method.c_str(), line.method.length());
    text += ' ';
    text.append(line.requestURI.c_str(), line.requestURI.length());
    text.append(versionAndLineEnd(line), VERSION_SIZE);
}

void appendWireText(std::string& text, const Header& header)
{
    text.append(header.name.c_str(), header.name.length());
    text.append(": ", 2);
    text.append(header.value.c_str(), header.value.length());
}

void appendWireText(std::string& text, const Headers& headers)
{
    for (const Header& header : headers)
    {
        appendWireText(text, header);
        text.append("\r\n", 2);
    }
}

std::size_t wireSizeOfHead(const RequestLine& line, const Headers& headers, std::string_view further)
{
    constexpr std::size_t SEPARATORS = 4; // ": " and CR LF
    std::size_t size = line.method.length() + 1 + line.requestURI.length() + VERSION_SIZE + further.size() + 2;
    for (const Header& header : headers)
    {
        size += header.name.length() + header.value.length() + SEPARATORS;
    }
    return size;
}

char* writeWireHead(char* to, const RequestLine& line, const Headers& headers, std::string_view further)
{
    to = put(to, line.method);
    *to++ = ' ';
    to = put(to, line.requestURI);
    std::memcpy(to, versionAndLineEnd(line), VERSION_SIZE);
    to += VERSION_SIZE;
    for (const Header& header : headers)
    {
        to = put(put(put(put(to, header.name), ':', ' '), header.value), '\r', '\n');
    }
    if (!further.empty())
    {
        std::memcpy(to, further.data(), further.size());
        to += further.size();
    }
    return put(to, '\r', '\n');
}

} // namespace ZOLNS2::HTTP
