#include "ScriptedResolver.hpp"

#include <dlfcn.h>
#include <netdb.h>

#include <atomic>
#include <cerrno>

namespace
{

struct Script
{
    std::string name;
    std::vector<std::string> addresses;
    int code = 0;
    int error = 0;
};

const Script* current = nullptr;
std::atomic<int> lookUpCount{0};
std::atomic<int> freedCount{0};

using Resolver = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

int resolveForReal(const char* name, const char* service, const addrinfo* hints, addrinfo** result)
{
    static const auto real = reinterpret_cast<Resolver>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(name, service, hints, result);
}

} // namespace

// Takes the place of the C library's for the whole program, the libraries it loads included.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result)
{
    ++lookUpCount;
    if (current == nullptr || name == nullptr || current->name != name)
    {
        return resolveForReal(name, service, hints, result);
    }
    if (current->code != 0)
    {
        errno = current->error;
        return current->code;
    }
    *result = nullptr;
    addrinfo** tail = result;
    for (const std::string& address : current->addresses)
    {
        addrinfo numeric = *hints;
        numeric.ai_flags |= AI_NUMERICHOST;
        if (const int code = resolveForReal(address.c_str(), service, &numeric, tail); code != 0)
        {
            return code;
        }
        tail = &(*tail)->ai_next;
    }
    return 0;
}

extern "C" __attribute__((visibility("default"))) void freeaddrinfo(addrinfo* list) noexcept
{
    static const auto real = reinterpret_cast<void (*)(addrinfo*)>(::dlsym(RTLD_NEXT, "freeaddrinfo"));
    ++freedCount;
    real(list);
}

namespace zol_test
{

ScriptedResolver::ScriptedResolver(const std::string& name, const std::vector<std::string>& addresses)
{
    current = new Script{name, addresses, 0, 0};
}

ScriptedResolver::ScriptedResolver(const std::string& name, int code, int error)
{
    current = new Script{name, {}, code, error};
}

ScriptedResolver::~ScriptedResolver()
{
    delete current;
    current = nullptr;
}

int ScriptedResolver::lookUps()
{
    return lookUpCount;
}

int ScriptedResolver::freedLists()
{
    return freedCount;
}

} // namespace zol_test
