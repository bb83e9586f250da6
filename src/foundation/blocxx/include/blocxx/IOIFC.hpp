#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/String.hpp"

namespace blocxx
{

/// A device that bytes are read from and written to: a socket, or whatever stands in for one.
///
/// Time-outs belong to the device: one that cannot proceed in time returns -1 with `errno` set to ETIMEDOUT. A device
/// is used by one thread at a time.
class BLOCXX_COMMON_API IOIFC
{
public:
    /// What an operation does when it fails.
    enum ErrorAction
    {
        E_THROW_ON_ERROR, ///< it throws the device's exception
        E_RETURN_ON_ERROR ///< it returns -1; `errno` tells the reason
    };

    virtual ~IOIFC();

    /// Reads what is there, waiting for the first byte if need be.
    /// @param dataIn where the bytes go; @param dataInLen the room there, in bytes.
    /// @return the bytes stored, which may be fewer than asked for; 0 at the end of the data; -1 on error.
    virtual int read(void* dataIn, int dataInLen, ErrorAction errorAsException = E_RETURN_ON_ERROR) = 0;

    /// Writes bytes.
    /// @return the bytes accepted, which may be fewer than given; -1 on error.
    virtual int write(const void* dataOut, int dataOutLen, ErrorAction errorAsException = E_RETURN_ON_ERROR) = 0;

    /// What went wrong in the last read or write, where the device knows more than `errno` can tell: under TLS the
    /// reason for a failed session. Empty if that operation succeeded, or if `errno` tells all there is. Keeps `errno`.
    virtual String lastErrorText() const;

protected:
    IOIFC() = default;
    IOIFC(const IOIFC&) = default;
    IOIFC& operator=(const IOIFC&) = default;
};

} // namespace blocxx
