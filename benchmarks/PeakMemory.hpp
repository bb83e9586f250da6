#pragma once

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

/// The largest resident set this program has had, in KiB. Taken from the kernel's account of the program itself: that
/// of the process would begin with the memory of whoever started it.
inline long peakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
    {
        if (line.rfind("VmHWM:", 0) == 0)
        {
            return std::strtol(line.c_str() + std::strlen("VmHWM:"), nullptr, 10);
        }
    }
    return 0;
}
