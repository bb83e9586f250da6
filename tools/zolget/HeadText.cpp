#include "HeadText.hpp"

#include "StringView.hpp"
#include "TerminalText.hpp"

namespace zolget
{

std::string headText(const ZOLNS2::HTTP::ExchangeResponse& response)
{
    std::string text = printable(viewOf(response.getStatusLine().toString())) + '\n';
    for (const ZOLNS2::HTTP::Header& header : response.getHeaders())
    {
        text += printable(viewOf(header.name)) + ": " + printable(viewOf(header.value)) + '\n';
    }
    return text + '\n';
}

} // namespace zolget
