#include "FuzzTarget.hpp"
#include "message/HeadInPlace.hpp"
#include "response/StoreHead.hpp"

#include "blocxx/Exception.hpp"
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/http/HTTPException.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/Content.hpp"

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>
#include <string>

using namespace ZOLNS2;

namespace
{

std::string textOf(const blocxx::String& text)
{
    return {text.c_str(), text.length()};
}

/// All that a head leaves in a response.
std::string textOf(const HTTP::Response& response)
{
    std::string text = textOf(response.statusLine.toString()) + '\n';
    for (const HTTP::Header& header : response.headers)
    {
        text += textOf(header.name) + '\n' + textOf(header.value) + '\n';
    }
    const blocxx::Array<HTTP::Parameter> parameters = response.contentType.getParameters();
    text += textOf(response.contentType.getContentTypeString()) + '\n' + textOf(response.contentType.getType()) + '\n' +
            textOf(response.contentType.getSubType()) + '\n';
    for (const HTTP::Parameter& parameter : parameters)
    {
        text += textOf(parameter.name) + '\n' + textOf(parameter.value) + '\n';
    }
    return text;
}

/// A copy whose memory ends where the bytes do, so that a sanitizer sees a read behind them.
std::unique_ptr<char[]> exactCopy(const std::string& bytes)
{
    std::unique_ptr<char[]> copy(new char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return copy;
}

// A head that is read in place leaves what the reader of lines leaves, and ends where that stops.
void readInBothWays(const std::string& bytes)
{
    const std::unique_ptr<char[]> copy = exactCopy(bytes);
    HTTP::HeadInPlace head;
    if (!head.scan({copy.get(), bytes.size()}))
    {
        return;
    }
    HTTP::Response inPlace;
    HTTP::HTTPResponseUnit::storeHead(head, inPlace);
    std::istringstream input(bytes);
    HTTP::Response byLines;
    try
    {
        byLines.checkStatus(input);
    }
    catch (const HTTP::HTTPException& e)
    {
        zol_fuzz::check(e.getErrorCode() != -1, "what is read in place is refused for its status alone");
    }
    zol_fuzz::check(!input.fail(), "what is read in place is whole for the reader of lines");
    zol_fuzz::check(static_cast<std::size_t>(input.tellg()) == head.length(), "both ways end at the same byte");
    zol_fuzz::check(textOf(inPlace) == textOf(byLines), "both ways store the same");
}

// The same for the header lines of a part.
void readPartInBothWays(const std::string& bytes)
{
    const std::unique_ptr<char[]> copy = exactCopy(bytes);
    HTTP::HeadInPlace head;
    if (!head.scan({copy.get(), bytes.size()}, HTTP::HeadInPlace::E_PART))
    {
        return;
    }
    std::istringstream input(bytes);
    OpenWBEM::HTTPHeaderMap map;
    zol_fuzz::check(OpenWBEM::HTTPUtils::buildMap(map, input), "header lines read in place can be read by lines");
    zol_fuzz::check(static_cast<std::size_t>(input.tellg()) == head.length(), "both ways end at the same byte");
    std::map<std::string, std::string> firsts;
    for (const HTTP::HeadInPlace::Field& field : head)
    {
        std::string name(field.nameView());
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
        firsts.emplace(name, field.valueView());
    }
    zol_fuzz::check(firsts.size() == map.size(), "both ways find the same names");
    for (const auto& [name, value] : map)
    {
        const auto found = firsts.find(textOf(name));
        zol_fuzz::check(found != firsts.end() && textOf(value).compare(0, found->second.size(), found->second) == 0,
                        "both ways find the same values");
    }
}

// A whole response read from a stream: it is either read or refused by an exception of the library; what was read is a
// success, and its contents can be pulled to their end.
void readWhole(const std::string& bytes)
{
    std::istringstream input(bytes);
    HTTP::Response response;
    try
    {
        input >> response;
    }
    catch (const blocxx::Exception&)
    {
        return;
    }
    zol_fuzz::check(response.statusLine.statusCode / 100 == 2, "only a success is returned");
    while (const MIME::ContentRef part = response.getNextPart())
    {
        const MIME::ContentStreamStateRef state = part->createInitialStreamState();
        const std::size_t end = static_cast<std::size_t>(-1);
        char block[100];
        std::size_t total = 0;
        std::size_t count = 0;
        while ((count = part->getData(block, sizeof block, state)) != end)
        {
            zol_fuzz::check(count <= sizeof block, "a read stays within its buffer");
            total += count;
            zol_fuzz::check(total <= 4 * (bytes.size() + 100) * 2, "a content has an end");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes = zol_fuzz::withEqualsAfterSemicolons(zol_fuzz::textOf(data, size));
    readInBothWays(bytes);
    readPartInBothWays(bytes);
    readWhole(bytes);
    return 0;
}
