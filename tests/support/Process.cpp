#include "support/Process.hpp"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zol_test
{

std::size_t residentSetSize()
{
    std::ifstream statm("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    if (!(statm >> total >> resident))
    {
        throw std::runtime_error("cannot read /proc/self/statm");
    }
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::size_t openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    // The folder itself is open while it is counted.
    return static_cast<std::size_t>(std::distance(begin(all), end(all))) - 1;
}

} // namespace zol_test
