#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

/// @param port  0 for one that the kernel chooses
inline sockaddr_in loopbackAddress(const std::string& port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(std::atoi(port.c_str())));
    return address;
}

/// The descriptor of a connection to an address of this machine. Ends the program if there is none.
inline int connectTo(const sockaddr_in& address)
{
    const int connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    {
        std::perror("connect");
        std::exit(1);
    }
    return connection;
}

/// @param block  at most how many bytes are sent by one system call
inline bool sendAll(int connection, const char* data, size_t size, size_t block = std::numeric_limits<size_t>::max())
{
    while (size > 0)
    {
        const ssize_t sent = ::send(connection, data, std::min(size, block), MSG_NOSIGNAL);
        if (sent <= 0)
        {
            return false;
        }
        data += sent;
        size -= static_cast<size_t>(sent);
    }
    return true;
}
