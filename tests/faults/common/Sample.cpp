#include "common/Sample.hpp"

#include <cstdlib>
#include <string_view>

namespace zol_faults
{

namespace
{

const std::size_t AT_THE_ENDS = 4;

bool isPrime(std::size_t number)
{
    for (std::size_t divisor = 2; divisor * divisor <= number; ++divisor)
    {
        if (number % divisor == 0)
        {
            return false;
        }
    }
    return number > 1;
}

// A prime step does not keep in time with what the operation repeats.
std::size_t stepFor(std::size_t total, std::size_t most)
{
    std::size_t step = total / most + 1;
    while (step > 1 && !isPrime(step))
    {
        ++step;
    }
    return step;
}

} // namespace

bool allPoints()
{
    const char* const wanted = std::getenv("ZOL_ALL_FAULTS");
    return wanted != nullptr && std::string_view(wanted) == "1";
}

std::vector<std::size_t> sampleOf(std::size_t total, std::size_t most)
{
    const std::size_t step = allPoints() ? 1 : stepFor(total, most);
    std::vector<std::size_t> points;
    for (std::size_t point = 1; point <= total; ++point)
    {
        if (point <= AT_THE_ENDS || point + AT_THE_ENDS > total || point % step == 0)
        {
            points.push_back(point);
        }
    }
    return points;
}

} // namespace zol_faults
