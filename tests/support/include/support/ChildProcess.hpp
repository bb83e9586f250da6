#pragma once

#include "support/Descriptor.hpp"

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace zol_test
{

/// A program started by a test. Its standard output and error are collected while it runs; it dies with the object, and
/// with the thread that made the object.
class ChildProcess
{
public:
    struct Options
    {
        std::vector<std::pair<std::string, std::string>> environment; ///< added to, or replacing, the test's own
        std::string workingDirectory;                                 ///< empty for the test's own
        std::string input;                                            ///< what the program finds on standard input
        int deathSignal = SIGKILL; ///< what the program gets when the thread that started it ends
        std::vector<int> inherit;  ///< descriptors that stay open under their own numbers; all others are closed
    };

    /// Starts `command[0]`, looked up along PATH when it has no slash. Throws `std::runtime_error` naming the program
    /// and the reason when it cannot be started.
    explicit ChildProcess(std::vector<std::string> command);
    ChildProcess(std::vector<std::string> command, Options options);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return m_pid; }

    /// Waits for the end of the program and for all that it wrote; returns its exit status, or 128 plus the number of
    /// the signal that ended it. Throws `std::runtime_error` when it still runs after `limit`.
    int wait(std::chrono::milliseconds limit = std::chrono::seconds(30));

    /// Whether the program has not ended yet.
    bool running();

    /// Asks the program to end (SIGTERM), and kills it after `grace` (SIGKILL). Does nothing when it has ended.
    void stop(std::chrono::milliseconds grace = std::chrono::seconds(5));

    /// What was written so far.
    std::string output() const;
    std::string errorOutput() const;

    /// Waits until `text` appears in the output (standard output or error); false when `limit` passes or the program
    /// closes both without it.
    bool waitForOutput(std::string_view text, std::chrono::milliseconds limit = std::chrono::seconds(10)) const;

private:
    void collect();
    std::optional<int> reap(bool block);

    pid_t m_pid = -1;
    std::optional<int> m_status;
    std::string m_input;
    Descriptor m_standardInput;
    Descriptor m_standardOutput;
    Descriptor m_standardError;
    Pipe m_wake;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::string m_output;
    std::string m_errorOutput;
    bool m_collected = false;
    std::thread m_collector;
};

} // namespace zol_test
