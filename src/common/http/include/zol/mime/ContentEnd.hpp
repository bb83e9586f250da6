#pragma once

#include "zol/Export.hpp"
#include "zol/mime/Content.hpp"

namespace ZOLNS2::MIME
{

/// Implemented by a content, beside Content, that can tell an orderly end of its data from a bad one: a body that was
/// cut, a file that could not be read. All contents of the library implement it, and a program's own may.
///
/// It is found by dynamic_cast, as the function endedBadly() does.
///
/// @code
/// class Download : public ZOLNS2::MIME::Content, public ZOLNS2::MIME::ContentEnd
/// {
///     ...
///     bool endedBadly(const ZOLNS2::MIME::ContentStreamStateRef&) const override { return m_lost; }
///     bool m_lost = false;
/// };
/// @endcode
class ZOL_API ContentEnd
{
public:
    virtual ~ContentEnd() noexcept(false); // like that of every counted object

    /// Whether the data that was read with `state` ended before all of it had been delivered. Means something once
    /// getData() has returned END_OF_DATA or 0.
    /// @throws blocxx::NULLReferenceException if the kind uses `state` and it is null or of another kind
    virtual bool endedBadly(const ContentStreamStateRef& state) const = 0;

protected:
    ContentEnd() = default;
    ContentEnd(const ContentEnd&) = default;
    ContentEnd& operator=(const ContentEnd&) = default;
};

/// What `content` says about the end of its data; false for a content that does not implement ContentEnd.
/// @throws blocxx::NULLReferenceException if `content` is null, and what the content's endedBadly() throws
ZOL_API bool endedBadly(const ContentRef& content, const ContentStreamStateRef& state);

} // namespace ZOLNS2::MIME
