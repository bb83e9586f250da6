#pragma once

#include "blocxx/IOIFC.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

/// A file as a device, so that a stream buffer of the library reads it as it reads a socket: no byte is touched in user
/// space before the reader sees it.
class FileDevice : public blocxx::IOIFC
{
public:
    explicit FileDevice(const char* path) : m_descriptor(::open(path, O_RDONLY | O_CLOEXEC))
    {
        if (m_descriptor < 0)
        {
            throw std::runtime_error(std::string("cannot open ") + path);
        }
    }
    ~FileDevice() override { ::close(m_descriptor); }
    FileDevice(const FileDevice&) = delete;
    FileDevice& operator=(const FileDevice&) = delete;

    int read(void* dataIn, int dataInLen, ErrorAction) override
    {
        return static_cast<int>(::read(m_descriptor, dataIn, static_cast<size_t>(dataInLen)));
    }
    int write(const void*, int, ErrorAction) override { return -1; }

private:
    int m_descriptor;
};
