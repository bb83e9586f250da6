#include "support/ScriptedNames.hpp"

#include <arpa/inet.h>
#include <netdb.h>
#include <nss.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>

#define ZOL_TEST_EXPORT __attribute__((visibility("default")))

namespace
{

std::atomic<int> begunCount{0};
std::atomic<int> endedCount{0};
std::atomic<int> damagedCount{0};

struct Address
{
    int family;
    const char* text;
};

const Address ONE[] = {{AF_INET, "127.0.0.1"}};
const Address MANY[] = {{AF_INET, "127.0.0.3"}, {AF_INET6, "::1"}, {AF_INET, "127.0.0.1"}, {AF_INET, "127.0.0.2"}};

__attribute__((constructor)) void takePart()
{
    ::__nss_configure_lookup("hosts", "zoltest [TRYAGAIN=return] files dns");
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool isOurs(std::string_view name)
{
    const std::string_view suffix = ".names.example";
    return name.size() > suffix.size() && name.substr(name.size() - suffix.size()) == suffix;
}

void sleepFor(long milliseconds)
{
    timespec left{milliseconds / 1000, milliseconds % 1000 * 1000000};
    while (::nanosleep(&left, &left) != 0 && errno == EINTR)
    {
    }
}

/// Takes memory from the front of what a caller of the service gives it.
class Memory
{
public:
    Memory(char* memory, std::size_t size) : m_next(memory), m_left(size) {}

    template <class T>
    T* take(std::size_t count = 1)
    {
        const std::size_t gap = (alignof(T) - reinterpret_cast<std::uintptr_t>(m_next) % alignof(T)) % alignof(T);
        const std::size_t wanted = gap + count * sizeof(T);
        if (wanted > m_left)
        {
            m_short = true;
            return nullptr;
        }
        T* const result = reinterpret_cast<T*>(m_next + gap);
        std::memset(static_cast<void*>(result), 0, count * sizeof(T));
        m_next += wanted;
        m_left -= wanted;
        return result;
    }

    char* copy(const char* text)
    {
        const std::size_t size = std::strlen(text) + 1;
        char* const result = take<char>(size);
        return result == nullptr ? nullptr : static_cast<char*>(std::memcpy(result, text, size));
    }

    bool isShort() const { return m_short; }

private:
    char* m_next;
    std::size_t m_left;
    bool m_short = false;
};

struct Reply
{
    int* error;
    int* hostError;

    nss_status unknown() const
    {
        *error = ENOENT;
        *hostError = HOST_NOT_FOUND;
        return NSS_STATUS_NOTFOUND;
    }

    nss_status tryAgain() const
    {
        *error = EAGAIN;
        *hostError = TRY_AGAIN;
        return NSS_STATUS_TRYAGAIN;
    }

    nss_status tooShort() const
    {
        *error = ERANGE;
        *hostError = NETDB_INTERNAL;
        return NSS_STATUS_TRYAGAIN;
    }
};

/// Calls `use` with each address of the name.
template <class Use>
nss_status lookUp(const char* name, const Reply& reply, Use use)
{
    if (!isOurs(name))
    {
        return reply.unknown();
    }
    ++begunCount;
    const std::string before(name);
    const bool isMany = startsWith(name, "many.");
    if (startsWith(name, "in"))
    {
        sleepFor(std::strtol(name + 2, nullptr, 10));
    }
    if (before != name)
    {
        ++damagedCount;
    }
    ++endedCount;
    if (startsWith(before, "broken."))
    {
        return reply.tryAgain();
    }
    for (const Address* address = isMany ? MANY : ONE; address != (isMany ? std::end(MANY) : std::end(ONE)); ++address)
    {
        use(*address);
    }
    return NSS_STATUS_SUCCESS;
}

} // namespace

namespace zol_test::ScriptedNames
{

ZOL_TEST_EXPORT int begun()
{
    return begunCount;
}

ZOL_TEST_EXPORT int ended()
{
    return endedCount;
}

ZOL_TEST_EXPORT int damaged()
{
    return damagedCount;
}

} // namespace zol_test::ScriptedNames

// What the C library calls for a name of any family.
extern "C" ZOL_TEST_EXPORT nss_status _nss_zoltest_gethostbyname4_r(const char* name, gaih_addrtuple** result,
                                                                    char* buffer, std::size_t size, int* error,
                                                                    int* hostError, std::int32_t*)
{
    const Reply reply{error, hostError};
    Memory memory(buffer, size);
    // The caller may give the first element.
    gaih_addrtuple* spare = *result;
    gaih_addrtuple** link = result;
    const nss_status status = lookUp(name, reply,
                                     [&](const Address& address)
                                     {
                                         gaih_addrtuple* const one =
                                             spare != nullptr ? spare : memory.take<gaih_addrtuple>();
                                         spare = nullptr;
                                         if (one == nullptr)
                                         {
                                             return;
                                         }
                                         *one = {};
                                         one->name = memory.copy(name);
                                         one->family = address.family;
                                         ::inet_pton(address.family, address.text, one->addr);
                                         *link = one;
                                         link = &one->next;
                                     });
    return memory.isShort() ? reply.tooShort() : status;
}

// And for one of a single family.
extern "C" ZOL_TEST_EXPORT nss_status _nss_zoltest_gethostbyname2_r(const char* name, int family, hostent* result,
                                                                    char* buffer, std::size_t size, int* error,
                                                                    int* hostError)
{
    const Reply reply{error, hostError};
    Memory memory(buffer, size);
    const std::size_t most = std::size(MANY);
    result->h_name = memory.copy(name);
    result->h_addrtype = family;
    result->h_length = family == AF_INET6 ? 16 : 4;
    result->h_aliases = memory.take<char*>();
    result->h_addr_list = memory.take<char*>(most + 1);
    in6_addr* const places = memory.take<in6_addr>(most);
    if (memory.isShort())
    {
        return reply.tooShort();
    }
    std::size_t count = 0;
    const nss_status status = lookUp(name, reply,
                                     [&](const Address& address)
                                     {
                                         if (address.family == family)
                                         {
                                             ::inet_pton(family, address.text, &places[count]);
                                             result->h_addr_list[count] = reinterpret_cast<char*>(&places[count]);
                                             ++count;
                                         }
                                     });
    return status == NSS_STATUS_SUCCESS && count == 0 ? reply.unknown() : status;
}
