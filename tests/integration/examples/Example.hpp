#pragma once

#include "support/ChildProcess.hpp"

#include <string>
#include <vector>

namespace examples_test
{

/// Starts one of the example programs.
inline zol_test::ChildProcess example(const std::string& name, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), std::string(EXAMPLES) + "/" + name);
    return zol_test::ChildProcess(arguments);
}

} // namespace examples_test
