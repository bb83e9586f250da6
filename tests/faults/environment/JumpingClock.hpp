#pragma once

namespace zol_faults
{

/// While it lives, the wall clock of the process jumps by years, forwards and backwards, at every look at it. The other
/// clocks are the system's.
class JumpingClock
{
public:
    JumpingClock();
    ~JumpingClock();
    JumpingClock(const JumpingClock&) = delete;
    JumpingClock& operator=(const JumpingClock&) = delete;
};

} // namespace zol_faults
