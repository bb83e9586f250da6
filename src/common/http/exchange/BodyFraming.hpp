#pragma once

#include "exchange/HeadReceiver.hpp"

#include "zol/http/Request.hpp"

#include <cstdint>

namespace ZOLNS2::HTTP
{

/// Where the body of a response ends, and whether the connection lives on behind it.
struct BodyFraming
{
    enum EKind
    {
        E_NONE,
        E_CHUNKED,
        E_LENGTH,
        E_TO_CLOSE
    };

    EKind kind = E_NONE;
    std::uint64_t length = 0; ///< of E_LENGTH
    bool keepsConnection = false;

    bool isEmpty() const { return kind == E_NONE || (kind == E_LENGTH && length == 0); }
};

/// RFC 9112, sections 6.3 and 9.3; all fields of a name are looked at.
/// @throws ExchangeException if they contradict each other, or cannot be read
BodyFraming framingOf(const Request& request, const ReceivedHead& head);

/// The same for any head. Nearly all have at most one field of each name that matters, with one value: framingOf reads
/// those in one pass over the fields, where this one takes six, and leaves only the others to it.
BodyFraming framingByLists(const Request& request, const ReceivedHead& head);

} // namespace ZOLNS2::HTTP
