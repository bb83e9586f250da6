#pragma once

#include <cstddef>
#include <string>

namespace zol_faults
{

/// Ends the process, naming the point, if the attempt at one point takes longer than any may (60 seconds), or if it ends in
/// std::terminate.
class Watchdog
{
public:
    explicit Watchdog(const std::string& operation);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// The attempt at this point begins. `what` outlives it.
    void watch(std::size_t point, const char* what);
};

} // namespace zol_faults
