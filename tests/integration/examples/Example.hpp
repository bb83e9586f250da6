#pragma once

#include "support/ChildProcess.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace examples_test
{

/// How a run of an example ended, and what it wrote.
struct Outcome
{
    int status;
    std::string output;
    std::string errors;
};

/// Starts one of the example programs.
inline zol_test::ChildProcess example(const std::string& name, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), std::string(EXAMPLES) + "/" + name);
    return zol_test::ChildProcess(arguments);
}

/// Runs one of the example programs to its end.
inline Outcome run(const std::string& name, std::vector<std::string> arguments)
{
    zol_test::ChildProcess process = example(name, std::move(arguments));
    const int status = process.wait();
    return {status, process.output(), process.errorOutput()};
}

/// What a program writes that ends with status 0.
inline std::string outputOf(const std::string& name, std::vector<std::string> arguments)
{
    const Outcome outcome = run(name, std::move(arguments));
    EXPECT_EQ(outcome.status, 0) << name << ": " << outcome.errors;
    return outcome.output;
}

/// "http://127.0.0.1:<port><target>", for a server that has a port.
template <class Server>
std::string urlOf(const Server& server, const std::string& target = "/")
{
    return "http://127.0.0.1:" + std::to_string(server.port()) + target;
}

} // namespace examples_test
