#include "message/WireText.hpp"

namespace ZOLNS2::HTTP
{

void appendWireText(std::string& text, const RequestLine& line)
{
    text.append(line.method.c_str(), line.method.length());
    text += ' ';
    text.append(line.requestURI.c_str(), line.requestURI.length());
    text.append(line.version == HTTP_1_0 ? " HTTP/1.0\r\n" : " HTTP/1.1\r\n", 11);
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

} // namespace ZOLNS2::HTTP
