#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

/// The largest resident set this program has had, in KiB. Taken from the kernel's account of the program itself: that
/// of the process would begin with the memory of whoever started it. Without a file stream, whose code would be part of
/// what is measured.
inline long peakMemory()
{
    char status[4096] = {};
    const int file = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    const ssize_t count = ::read(file, status, sizeof status - 1);
    ::close(file);
    const char* const name = "VmHWM:";
    const char* const line = count > 0 ? std::strstr(status, name) : nullptr;
    return line != nullptr ? std::strtol(line + std::strlen(name), nullptr, 10) : 0;
}
