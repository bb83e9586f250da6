#include "blocxx/SocketAddress.hpp"

#include "io/LookUp.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/LookUp.hpp"

#include <arpa/inet.h>
#include <netdb.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace blocxx
{

BLOCXX_DEFINE_EXCEPTION_WITH_ID(UnknownHost)

namespace
{

const char* const NOT_A_HOST = "not a host name";

[[noreturn]] void throwUnknownHost(const String& host, const char* reason)
{
    BLOCXX_THROW(UnknownHostException, Format("Unknown host: %1: %2", host, reason).c_str());
}

template <typename Predicate>
bool allBytes(const String& text, Predicate predicate)
{
    return std::all_of(text.c_str(), text.c_str() + text.length(), predicate);
}

bool isDigitsAndDots(const String& text)
{
    return allBytes(text, [](char c) { return (c >= '0' && c <= '9') || c == '.'; });
}

// The resolver would cut the text at NUL, and ignore a trailing blank.
bool holdsBlankOrControl(const String& text)
{
    return !allBytes(text, [](char c) { return static_cast<unsigned char>(c) > ' ' && c != '\x7f'; });
}

// Programs disagree whether such a part is octal, so that a filter may let pass what another reads as a different host.
bool hasPartWithLeadingZero(const String& digitsAndDots)
{
    bool partStarts = true;
    for (std::size_t i = 0; i + 1 < digitsAndDots.length(); ++i)
    {
        if (partStarts && digitsAndDots[i] == '0' && digitsAndDots[i + 1] != '.')
        {
            return true;
        }
        partStarts = digitsAndDots[i] == '.';
    }
    return false;
}

/// Reads the usual form of an address, four decimal numbers without leading zeros, in one pass: the tests for every other
/// form, which readLiteral() makes, cost four times as much as the reading.
/// @return false for anything else, which is not looked at further
bool readDottedQuad(const char* text, std::size_t length, in_addr& address)
{
    constexpr unsigned PARTS = 4;
    constexpr unsigned LARGEST_PART = 255;
    constexpr std::ptrdiff_t MOST_DIGITS = 3;
    std::uint32_t bytes = 0;
    const char* at = text;
    for (unsigned part = 1;; ++part, ++at)
    {
        const char* const begin = at;
        unsigned number = 0;
        // The NUL behind the text is no digit.
        for (unsigned digit = 0; (digit = static_cast<unsigned>(*at - '0')) < 10; ++at)
        {
            number = number * 10 + digit;
        }
        if (at == begin || at - begin > MOST_DIGITS || number > LARGEST_PART || (*begin == '0' && at - begin > 1))
        {
            return false;
        }
        bytes = bytes << 8 | number;
        if (part == PARTS || *at != '.')
        {
            address.s_addr = htonl(bytes);
            return part == PARTS && at == text + length;
        }
    }
}

// inet_pton is faster for the usual form; inet_aton also accepts the short ones.
bool readIPv4(const char* text, in_addr& address)
{
    return ::inet_pton(AF_INET, text, &address) == 1 || ::inet_aton(text, &address) != 0;
}

const char* resolverReason(int code, int error)
{
    return code == EAI_SYSTEM && error != 0 ? std::strerror(error) : ::gai_strerror(code);
}

bool isOfFamily(sa_family_t family, LookUp::EFamily wanted)
{
    return wanted == LookUp::E_ANY_FAMILY || (family == AF_INET6) == (wanted == LookUp::E_IPV6_ONLY);
}

} // namespace

SocketAddress::SocketAddress() : m_port(0), m_hasHostName(false), m_first{} {}

SocketAddress SocketAddress::getByName(const String& host, unsigned short port)
{
    return getByName(host, port, LookUp());
}

SocketAddress SocketAddress::getByName(const String& host, unsigned short port, const LookUp& limits)
{
    SocketAddress result;
    result.m_name = host;
    result.m_port = port;
    if (!result.readLiteral())
    {
        result.resolve(limits);
    }
    else if (!isOfFamily(result.m_first.generic.sa_family, limits.family))
    {
        throwUnknownHost(host, limits.family == LookUp::E_IPV4_ONLY ? "not an IPv4 address" : "not an IPv6 address");
    }
    result.setPort(result.m_first);
    for (Native& other : result.m_others)
    {
        result.setPort(other);
    }
    return result;
}

// Returns whether the name is an address in numbers. Throws for what only looks like one: the resolver would spend a
// look-up on it, or read it in a form (0x7f.1) that is refused here.
//
// IPv4: number *3("." number), number = "0" / (%x31-39 *DIGIT), the last one filling the bytes that are left;
// IPv6: as RFC 4291, section 2.2, has it.
bool SocketAddress::readLiteral()
{
    const char* const text = m_name.c_str();
    if (readDottedQuad(text, m_name.length(), m_first.ipv4.sin_addr))
    {
        m_first.ipv4.sin_family = AF_INET;
        return true;
    }
    if (m_name.empty() || holdsBlankOrControl(m_name))
    {
        throwUnknownHost(m_name, NOT_A_HOST);
    }
    if (isDigitsAndDots(m_name))
    {
        if (hasPartWithLeadingZero(m_name) || !readIPv4(text, m_first.ipv4.sin_addr))
        {
            throwUnknownHost(m_name, NOT_A_HOST);
        }
        m_first.ipv4.sin_family = AF_INET;
        return true;
    }
    if (m_name.indexOf(':') != String::npos)
    {
        if (::inet_pton(AF_INET6, text, &m_first.ipv6.sin6_addr) != 1)
        {
            throwUnknownHost(m_name, NOT_A_HOST);
        }
        m_first.ipv6.sin6_family = AF_INET6;
        return true;
    }
    in_addr otherForm{};
    if (readIPv4(text, otherForm))
    {
        throwUnknownHost(m_name, NOT_A_HOST);
    }
    return false;
}

void SocketAddress::resolve(const LookUp& limits)
{
    const NameLookUp found = lookUpName(m_name, limits);
    if (found.code != 0)
    {
        throwUnknownHost(m_name, resolverReason(found.code, found.error));
    }
    for (const addrinfo* info = found.addresses.get(); info != nullptr; info = info->ai_next)
    {
        Native native{};
        if (!readNative(info->ai_addr, info->ai_addrlen, native))
        {
            continue;
        }
        if (getType() == UNSET)
        {
            m_first = native;
        }
        else
        {
            m_others.push_back(native);
        }
    }
    if (getType() == UNSET)
    {
        throwUnknownHost(m_name, ::gai_strerror(EAI_NODATA));
    }
    m_hasHostName = true;
}

bool SocketAddress::readNative(const sockaddr* address, std::size_t size, Native& native)
{
    if (address == nullptr || size < sizeof(sa_family_t))
    {
        return false;
    }
    const std::size_t needed = address->sa_family == AF_INET    ? sizeof(sockaddr_in)
                               : address->sa_family == AF_INET6 ? sizeof(sockaddr_in6)
                                                                : 0;
    if (needed == 0 || size < needed)
    {
        return false;
    }
    std::memcpy(&native, address, needed);
    return true;
}

void SocketAddress::setPort(Native& native) const
{
    in_port_t& port = native.generic.sa_family == AF_INET6 ? native.ipv6.sin6_port : native.ipv4.sin_port;
    port = htons(m_port);
}

String SocketAddress::getAddress() const
{
    if (getType() == UNSET)
    {
        return String();
    }
    char text[INET6_ADDRSTRLEN] = "";
    const bool isIPv6 = m_first.generic.sa_family == AF_INET6;
    const void* const bytes = isIPv6 ? static_cast<const void*>(&m_first.ipv6.sin6_addr) : &m_first.ipv4.sin_addr;
    ::inet_ntop(m_first.generic.sa_family, bytes, text, sizeof text);
    return String(text);
}

String SocketAddress::toString() const
{
    if (getType() == UNSET)
    {
        return String();
    }
    // Deliberately brackets around IPv6 (RFC 3986, section 3.2.2): without them the port cannot be told apart.
    const char* const form = m_first.generic.sa_family == AF_INET6 ? "[%1]:%2" : "%1:%2";
    // As text: a number in a Format follows the global locale.
    return Format(form, getAddress(), std::to_string(m_port).c_str());
}

SocketAddress SocketAddress::getCandidate(std::size_t index) const
{
    SocketAddress candidate;
    candidate.m_name = m_name;
    candidate.m_port = m_port;
    candidate.m_hasHostName = m_hasHostName;
    candidate.m_first = index == 0 ? m_first : m_others.at(index - 1);
    return candidate;
}

const sockaddr* SocketAddress::getNativeForm() const
{
    return getType() == UNSET ? nullptr : &m_first.generic;
}

std::size_t SocketAddress::getNativeFormSize() const
{
    if (getType() == UNSET)
    {
        return 0;
    }
    return m_first.generic.sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
}

void SocketAddress::assignFromNativeForm(const sockaddr* address, std::size_t size)
{
    m_first = Native{};
    m_others.clear();
    m_port = 0;
    if (readNative(address, size, m_first))
    {
        m_port = ntohs(m_first.generic.sa_family == AF_INET6 ? m_first.ipv6.sin6_port : m_first.ipv4.sin_port);
    }
}

} // namespace blocxx
