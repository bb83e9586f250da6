#include "FuzzTarget.hpp"

#include "openwbem/OW_HTTPUtils.hpp"

#include <sstream>
#include <string>

namespace
{

std::string textOf(const blocxx::String& text)
{
    return std::string(text.c_str(), text.length());
}

} // namespace

// Header lines: what gets into the map is clean, whether or not the block as a whole was accepted.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream input(zol_fuzz::textOf(data, size));
    OpenWBEM::HTTPHeaderMap map;
    const bool accepted = OpenWBEM::HTTPUtils::buildMap(map, input);
    zol_fuzz::check(accepted || input.fail(), "a refusal shows on the stream");
    for (const auto& entry : map)
    {
        const std::string name = textOf(entry.first);
        const std::string value = textOf(entry.second);
        const std::string space = " \t\r\n\v\f";
        zol_fuzz::check(!name.empty(), "names are not empty");
        zol_fuzz::check(name.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ:\n") == std::string::npos,
                        "names are in lower case");
        zol_fuzz::check(space.find(name.front()) == std::string::npos && space.find(name.back()) == std::string::npos,
                        "names are trimmed");
        zol_fuzz::check((name + value).find_first_of(std::string("\0\r\n", 3)) == std::string::npos,
                        "no line end and no NUL gets in");
    }
    return 0;
}
