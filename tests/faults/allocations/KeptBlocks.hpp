#pragma once

#include <string>

namespace zol_faults
{

/// Where the blocks were allocated that the calling thread holds; only while it is asked for. Allocates nothing.
class KeptBlocks
{
public:
    static void add(void* memory) noexcept;
    static void remove(void* memory) noexcept;

    static void begin();

    /// Ends it, and returns a line for each block that is left: the functions that led to its allocation.
    static std::string end();
};

} // namespace zol_faults
