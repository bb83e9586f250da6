#pragma once

#include "content/ReceivedBytes.hpp"

#include <cstddef>

namespace ZOLNS2::HTTP::HTTPResponseUnit
{

/// What a multipart body holds before each of its boundaries, as it arrives (RFC 2046, section 5.1.1): the
/// preamble, a part, or what follows the closing boundary. The bytes of a part are kept. The others are never
/// read, so those are only counted, however many a server sends.
class ReceivedPart
{
public:
    /// Drops what was received, the preamble at first. What arrives next follows a boundary.
    void beginAfterBoundary();

    /// Takes the next `count` bytes; after a boundary the first two tell whether it was the closing one.
    void append(const char* bytes, std::size_t count);

    /// Whether the boundary before these bytes was the closing one. Deliberate: the two bytes alone decide, not
    /// the line.
    bool isAfterClosingBoundary() const { return m_kind == E_EPILOGUE; }

    /// The bytes that arrived, less those taken off the front of a part.
    std::size_t size() const { return m_counted + m_bytes.size(); }

    /// The bytes of a part.
    MIME::ReceivedBytes& bytes() { return m_bytes; }

private:
    enum EKind
    {
        E_PREAMBLE,
        E_UNDECIDED, ///< after a boundary; fewer than two bytes have arrived
        E_PART,
        E_EPILOGUE
    };

    EKind m_kind = E_PREAMBLE;
    std::size_t m_counted = 0;
    MIME::ReceivedBytes m_bytes;
};

} // namespace ZOLNS2::HTTP::HTTPResponseUnit
