#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// What libFuzzer, and the replaying driver, call with each input. Always returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace zol_fuzz
{

/// Ends the process, loudly, when a property does not hold.
inline void check(bool holds, const char* property)
{
    if (!holds)
    {
        std::fprintf(stderr, "does not hold: %s\n", property);
        std::abort();
    }
}

inline std::string textOf(const std::uint8_t* data, std::size_t size)
{
    return std::string(reinterpret_cast<const char*>(data), size);
}

/// The input with a parameter name and "=" put after each ";" that lacks one. The parser of content types is known to
/// search without end after a ";" that no "=" follows, and is kept so.
inline std::string withEqualsAfterSemicolons(const std::string& input)
{
    const std::string nameCharacters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_ ";
    std::string result;
    for (std::size_t i = 0; i < input.size(); ++i)
    {
        result += input[i];
        if (input[i] == ';')
        {
            const std::size_t end = input.find_first_not_of(nameCharacters, i + 1);
            if (end == std::string::npos || input[end] != '=')
            {
                result += "p=";
            }
        }
    }
    return result;
}

} // namespace zol_fuzz
