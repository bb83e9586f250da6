#include "allocations/KnownLeaks.hpp"

#include <sstream>

namespace zol_faults
{

namespace
{

struct KnownLeak
{
    const char* function; ///< of OpenSSL, as it stands in a trace
    const char* reason;
};

const KnownLeak KNOWN[] = {
    {"(none yet)", ""},
};

bool isKnown(const std::string& trace)
{
    for (const KnownLeak& leak : KNOWN)
    {
        if (trace.find(leak.function) != std::string::npos)
        {
            return true;
        }
    }
    return false;
}

} // namespace

std::string unknownLeaks(const std::string& traces)
{
    std::istringstream in(traces);
    std::string unknown;
    for (std::string trace; std::getline(in, trace);)
    {
        if (!isKnown(trace))
        {
            unknown += trace + '\n';
        }
    }
    return unknown;
}

} // namespace zol_faults
