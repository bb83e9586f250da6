#pragma once

#include <cstddef>
#include <vector>

namespace zol_faults
{

/// Whether ZOL_ALL_FAULTS=1 stands in the environment: then every point is tried.
bool allPoints();

/// Which of the points 1 to `total` are to fail: all of them if that was asked for, else the first and the last ones,
/// and between them about `most`, a prime number of points apart.
std::vector<std::size_t> sampleOf(std::size_t total, std::size_t most);

} // namespace zol_faults
