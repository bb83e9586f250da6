#pragma once

#include "message/HeadInPlace.hpp"

#include "blocxx/String.hpp"
#include "zol/http/Headers.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

namespace ZOLNS2::HTTP
{

/// What responses over one kept connection have in common with the one before: the names of the fields, most of their
/// values, and the type. What is the same is taken over and not made again, which saves most of the allocations of a
/// response. Once a program has let go of the fields of the response before, their memory serves the next.
class RecentResponse
{
public:
    /// The fields of a head. @return what a new Headers would be with them
    const Headers& fieldsOf(const HeadInPlace& head);

    /// As contentTypeOf(), application/octet-stream where the fields name none. Valid until the next call.
    const MIME::ContentTypeHeader& typeOf(const Headers& fields);

private:
    Headers m_fields;
    blocxx::String m_typeText; // empty where m_type is of no use
    MIME::ContentTypeHeader m_type;
};

} // namespace ZOLNS2::HTTP
