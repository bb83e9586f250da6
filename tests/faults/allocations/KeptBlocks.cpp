#include "allocations/KeptBlocks.hpp"

#include "allocations/FailingAllocations.hpp"

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace zol_faults
{

namespace
{

const int DEPTH = 28;

struct Block
{
    void* memory;
    int depth;
    std::array<void*, DEPTH> callers;
};

const std::size_t MOST_BLOCKS = 20000;

Block blocks[MOST_BLOCKS];
std::size_t blockCount = 0;
thread_local bool tracing = false;

std::string nameOf(void* address)
{
    Dl_info found{};
    if (::dladdr(address, &found) == 0)
    {
        return "?";
    }
    if (found.dli_sname == nullptr)
    {
        const std::string file = found.dli_fname == nullptr ? "?" : found.dli_fname;
        return "(" + file.substr(file.rfind('/') + 1) + ")";
    }
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(found.dli_sname, nullptr, nullptr, &status), &std::free);
    const std::string name = status == 0 ? readable.get() : found.dli_sname;
    return name.substr(0, name.find('('));
}

} // namespace

void KeptBlocks::add(void* memory) noexcept
{
    if (!tracing || blockCount == MOST_BLOCKS)
    {
        return;
    }
    tracing = false; // what a trace itself allocates
    Block& block = blocks[blockCount++];
    block.memory = memory;
    block.depth = ::backtrace(block.callers.data(), DEPTH);
    tracing = true;
}

void KeptBlocks::remove(void* memory) noexcept
{
    if (!tracing)
    {
        return;
    }
    for (std::size_t i = blockCount; i-- > 0;)
    {
        if (blocks[i].memory == memory)
        {
            blocks[i] = blocks[--blockCount];
            return;
        }
    }
}

void KeptBlocks::begin()
{
    void* one = nullptr;
    ::backtrace(&one, 1); // loads what it needs
    blockCount = 0;
    tracing = true;
}

std::string KeptBlocks::end()
{
    tracing = false;
    std::string text;
    for (std::size_t i = 0; i < blockCount; ++i)
    {
        std::string line;
        for (int j = 0; j < blocks[i].depth; ++j)
        {
            line += (line.empty() ? "" : " < ") + nameOf(blocks[i].callers[static_cast<std::size_t>(j)]);
        }
        text += line + '\n';
    }
    return text;
}

} // namespace zol_faults
