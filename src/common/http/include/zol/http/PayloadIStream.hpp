#pragma once

#include "zol/Export.hpp"

#include <istream>

namespace ZOLNS2::HTTP
{

/// A stream over the body of a message that also tells the body's length, if it is known. One thread at a time.
class ZOL_API PayloadIStream : public std::iostream
{
public:
    ~PayloadIStream() override;

    /// Whether the length of the body is known.
    virtual bool hasContentLength() = 0;
    /// The bytes of the whole body, whatever has been read of it.
    virtual unsigned long getContentLength() = 0;

protected:
    /// @param buffer not owned; must outlive the stream
    explicit PayloadIStream(std::streambuf* buffer) : std::iostream(buffer) {}
};

} // namespace ZOLNS2::HTTP
