#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"
#include "blocxx/Types.hpp"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>
#include <vector>

namespace blocxx
{

struct LookUp;

/// Thrown for a host name that is not valid or has no address; subclass id -9.
BLOCXX_DECLARE_APIEXCEPTION(UnknownHost, BLOCXX_COMMON_API)

/// An address to connect to: the name that was asked for, a port, and the addresses the name has.
///
/// A value; distinct objects may be used on distinct threads.
///
/// @code
/// const blocxx::SocketAddress address = blocxx::SocketAddress::getByName("www.example.com", 443);
/// std::cout << address.toString();
/// @endcode
class BLOCXX_COMMON_API SocketAddress
{
public:
    /// What an address is.
    enum AddressType
    {
        UNSET,
        INET ///< IPv4 or IPv6
    };

    /// UNSET, without name and address.
    SocketAddress();

    /// The addresses of a host, IPv4 and IPv6, in the order the system's resolver gives them.
    ///
    /// A literal address is used as it is, without a look-up: IPv4 in dotted, shortened (`127.1`) and
    /// single-number form, IPv6 without brackets and without zone. A name may block for as long as the resolver does.
    /// @throws UnknownHostException "Unknown host: " with the host and the resolver's reason: the name has no address,
    /// or is empty, or holds a blank or a control character.
    static SocketAddress getByName(const String& host, unsigned short port = 0);

    /// The same addresses in the same order, with a look-up that ends in time, can be given up, and is for one family
    /// of addresses if wanted. An address in numbers is not looked up, and so has no limit.
    /// @throws UnknownHostException as above; also for an address in numbers that is not of the family.
    /// @throws SocketException with code ETIMEDOUT when the time is up, with ECANCELED when the look-up is cancelled;
    /// the text names the host.
    static SocketAddress getByName(const String& host, unsigned short port, const LookUp& limits);

    /// UNSET for an address that was made without one.
    AddressType getType() const { return m_first.generic.sa_family == AF_UNSPEC ? UNSET : INET; }

    /// In host order; 0 for an UNSET address.
    UInt16 getPort() const { return m_port; }

    /// The name that was asked for; empty if there was none.
    const String& getName() const { return m_name; }

    /// The first address in numbers; empty for an UNSET address.
    String getAddress() const;

    /// The first address and the port: `127.0.0.1:80`, `[::1]:80`; empty for an UNSET address.
    String toString() const;

    /// Whether the name is a host name. If not, it is an address in numbers, or there is none.
    bool hasHostName() const { return m_hasHostName; }

    /// How many addresses the name has; 0 for an UNSET address.
    std::size_t getCandidateCount() const { return getType() == UNSET ? 0 : 1 + m_others.size(); }

    /// One of the addresses, under the same name. @param index must be less than `getCandidateCount()`.
    SocketAddress getCandidate(std::size_t index) const;

    /// The first address as the system calls take it; null and 0 for an UNSET address.
    const sockaddr* getNativeForm() const;
    /// The bytes of the native form.
    std::size_t getNativeFormSize() const;

    /// Takes the address and the port from what a system call gave, keeps the name. A form that is neither IPv4 nor
    /// IPv6 leaves the address UNSET.
    void assignFromNativeForm(const sockaddr* address, std::size_t size);

private:
    union Native
    {
        sockaddr_in6 ipv6;
        sockaddr_in ipv4;
        sockaddr generic;
    };

    static bool readNative(const sockaddr* address, std::size_t size, Native& native);
    bool readLiteral();
    void resolve(const LookUp& limits);
    void setPort(Native& native) const;

    String m_name;
    UInt16 m_port;
    bool m_hasHostName;
    Native m_first;
    std::vector<Native> m_others;
};

} // namespace blocxx
