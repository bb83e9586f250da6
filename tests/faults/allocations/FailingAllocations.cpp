#include "allocations/FailingAllocations.hpp"

#include "allocations/KeptBlocks.hpp"
#include "common/Sanitized.hpp"

#include <openssl/crypto.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

#ifdef ZOL_SANITIZED

namespace
{

void* systemAllocate(std::size_t size)
{
    return std::malloc(size);
}

void* systemReallocate(void* memory, std::size_t size)
{
    return std::realloc(memory, size);
}

void* systemAlign(std::size_t alignment, std::size_t size)
{
    return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void systemFree(void* memory)
{
    std::free(memory);
}

} // namespace

const bool zol_faults::C_LIBRARY_ALLOCATES_HERE = false;

#else

extern "C"
{
    void* __libc_malloc(std::size_t size);                          // NOLINT(bugprone-reserved-identifier)
    void* __libc_calloc(std::size_t count, std::size_t size);       // NOLINT(bugprone-reserved-identifier)
    void* __libc_realloc(void* memory, std::size_t size);           // NOLINT(bugprone-reserved-identifier)
    void* __libc_memalign(std::size_t alignment, std::size_t size); // NOLINT(bugprone-reserved-identifier)
    void __libc_free(void* memory);                                 // NOLINT(bugprone-reserved-identifier)
}

namespace
{

void* systemAllocate(std::size_t size)
{
    return __libc_malloc(size);
}

void* systemReallocate(void* memory, std::size_t size)
{
    return __libc_realloc(memory, size);
}

void* systemAlign(std::size_t alignment, std::size_t size)
{
    return __libc_memalign(alignment, size);
}

void systemFree(void* memory)
{
    __libc_free(memory);
}

} // namespace

const bool zol_faults::C_LIBRARY_ALLOCATES_HERE = true;

#endif

namespace
{

using namespace zol_faults;

thread_local AllocationCounts counts{};
thread_local std::size_t untilFailure = 0; // 0: none is to fail
thread_local bool allThatFollow = false;
thread_local long kept = 0;

bool failsNow(EAllocator allocator)
{
    ++counts[allocator];
    if (untilFailure == 0 || --untilFailure > 0)
    {
        return false;
    }
    untilFailure = allThatFollow ? 1 : 0;
    return true;
}

void* noted(void* memory)
{
    if (memory != nullptr)
    {
        ++kept;
        KeptBlocks::add(memory);
    }
    return memory;
}

void* allocate(EAllocator allocator, std::size_t size)
{
    if (failsNow(allocator))
    {
        errno = ENOMEM;
        return nullptr;
    }
    return noted(systemAllocate(size != 0 ? size : 1));
}

void* align(EAllocator allocator, std::size_t alignment, std::size_t size)
{
    if (failsNow(allocator))
    {
        errno = ENOMEM;
        return nullptr;
    }
    return noted(systemAlign(alignment, size));
}

void release(void* memory)
{
    if (memory != nullptr)
    {
        --kept;
        KeptBlocks::remove(memory);
        systemFree(memory);
    }
}

void* reallocate(EAllocator allocator, void* memory, std::size_t size)
{
    if (memory == nullptr)
    {
        return allocate(allocator, size);
    }
    if (failsNow(allocator))
    {
        errno = ENOMEM;
        return nullptr;
    }
    --kept;
    KeptBlocks::remove(memory);
    return noted(systemReallocate(memory, size));
}

void* allocateForOpenSSL(std::size_t size, const char*, int)
{
    return size == 0 ? nullptr : allocate(E_OPENSSL, size);
}

void* reallocateForOpenSSL(void* memory, std::size_t size, const char*, int)
{
    if (size == 0)
    {
        release(memory);
        return nullptr;
    }
    return reallocate(E_OPENSSL, memory, size);
}

void releaseForOpenSSL(void* memory, const char*, int)
{
    release(memory);
}

// Before anything of OpenSSL's has run: later it refuses.
__attribute__((constructor)) void giveOpenSSLItsFunctions()
{
    if (CRYPTO_set_mem_functions(allocateForOpenSSL, reallocateForOpenSSL, releaseForOpenSSL) != 1)
    {
        std::abort();
    }
}

void* orThrow(void* memory)
{
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

std::size_t numberOf(std::align_val_t alignment)
{
    return static_cast<std::size_t>(alignment);
}

} // namespace

namespace zol_faults
{

void failAllocations(std::size_t n, EFailing failing)
{
    counts = {};
    allThatFollow = failing == E_ALL_THAT_FOLLOW;
    untilFailure = n;
}

void stopFailing()
{
    untilFailure = 0;
}

AllocationCounts allocationCounts()
{
    return counts;
}

long keptAllocations()
{
    return kept;
}

} // namespace zol_faults

// clang-format off
void* operator new(std::size_t size) { return orThrow(allocate(E_OPERATOR_NEW, size)); }
void* operator new[](std::size_t size) { return orThrow(allocate(E_OPERATOR_NEW, size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(E_OPERATOR_NEW, size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(E_OPERATOR_NEW, size); }
void* operator new(std::size_t size, std::align_val_t a) { return orThrow(align(E_OPERATOR_NEW, numberOf(a), size)); }
void* operator new[](std::size_t size, std::align_val_t a) { return orThrow(align(E_OPERATOR_NEW, numberOf(a), size)); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }
// clang-format on

#ifndef ZOL_SANITIZED

// These take the place of the C library's for the whole program, the libraries that it loads included.
#define ZOL_TEST_REPLACEMENT extern "C" __attribute__((visibility("default")))

ZOL_TEST_REPLACEMENT void* malloc(std::size_t size)
{
    return allocate(E_C_LIBRARY, size);
}

ZOL_TEST_REPLACEMENT void* calloc(std::size_t count, std::size_t size)
{
    if (failsNow(E_C_LIBRARY))
    {
        errno = ENOMEM;
        return nullptr;
    }
    return noted(__libc_calloc(count, size));
}

ZOL_TEST_REPLACEMENT void* realloc(void* memory, std::size_t size)
{
    if (memory != nullptr && size == 0)
    {
        release(memory);
        return nullptr;
    }
    return reallocate(E_C_LIBRARY, memory, size);
}

ZOL_TEST_REPLACEMENT void* memalign(std::size_t alignment, std::size_t size)
{
    return align(E_C_LIBRARY, alignment, size);
}

ZOL_TEST_REPLACEMENT void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return align(E_C_LIBRARY, alignment, size);
}

ZOL_TEST_REPLACEMENT int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    *memory = align(E_C_LIBRARY, alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}

ZOL_TEST_REPLACEMENT void free(void* memory)
{
    const int error = errno;
    release(memory);
    errno = error;
}

#endif
