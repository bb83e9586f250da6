#pragma once

#include <functional>
#include <string>

namespace zol_faults
{

/// Does something in a forked process.
/// @return what it returned, followed by how the process ended if not with `_exit(0)`
std::string inAChild(const std::function<std::string()>& action);

} // namespace zol_faults
