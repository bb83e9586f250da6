#pragma once

#include <ios>
#include <string>

namespace zol_test
{

/// The bits of a stream's state: "good", or those of E (eofbit), F (failbit) and B (badbit) that are set.
inline std::string stateOf(const std::ios& stream)
{
    const std::ios_base::iostate state = stream.rdstate();
    const std::string bits = std::string((state & std::ios_base::eofbit) != 0 ? "E" : "") +
                             ((state & std::ios_base::failbit) != 0 ? "F" : "") +
                             ((state & std::ios_base::badbit) != 0 ? "B" : "");
    return bits.empty() ? "good" : bits;
}

} // namespace zol_test
