#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "zol/Export.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <cstddef>
#include <limits>

namespace ZOLNS2::MIME
{

/// What Content::getData() returns at the end of the data.
inline constexpr size_t END_OF_DATA = std::numeric_limits<size_t>::max();

/// The position of one reader in a content. Made by the content; used by one thread at a time, and only with the
/// content that made it.
class ZOL_API ContentStreamState : public blocxx::IntrusiveCountableBase
{
public:
    ContentStreamState() = default;
    ~ContentStreamState() override;
};

using ContentStreamStateRef = blocxx::IntrusiveReference<ContentStreamState>;

/// A message body: its type, its length if known, and its bytes.
///
/// A reader asks for a stream state once, and then calls getData() with it until that returns END_OF_DATA. The
/// content itself keeps no position, so any number of readers can read it, each with a state of its own (the exception
/// is UnbufferedContent, which is read once).
///
/// Lives as long as a handle to it. A state does not keep its content alive.
///
/// @code
/// const MIME::ContentStreamStateRef state = content->createInitialStreamState();
/// char buffer[4096];
/// for (size_t count; (count = content->getData(buffer, sizeof(buffer), state)) != MIME::END_OF_DATA;)
/// {
///     consume(buffer, count); // a count of 0 is not the end
/// }
/// @endcode
class ZOL_API Content : public blocxx::IntrusiveCountableBase
{
public:
    ~Content() override;

    /// The type of the bytes, as a Content-Type header gives it.
    virtual ContentTypeHeader getContentType() = 0;

    /// Whether getContentLength() can be asked.
    virtual bool hasContentLength() = 0;

    /// The bytes that a whole reading delivers. Without hasContentLength() it throws a ContentException, or returns a
    /// number that means nothing.
    virtual size_t getContentLength() = 0;

    /// Copies at most `len` bytes to `buf` and advances `state` by the number copied.
    /// @return the number of bytes copied; END_OF_DATA at the end of the data, and on every call after it. 0 is not the
    /// end: nothing came this time, and the reader asks again.
    /// @throws blocxx::NULLReferenceException if `state` is null or belongs to another kind of content
    virtual size_t getData(char* buf, size_t len, const ContentStreamStateRef& state) = 0;

    /// A state for a new reading from the first byte.
    virtual ContentStreamStateRef createInitialStreamState() const = 0;

protected:
    Content() = default;
};

using ContentRef = blocxx::IntrusiveReference<Content>;

/// The parts of a multipart body, or the contents of a response.
using Contents = blocxx::Array<ContentRef>;

/// The next `len` bytes of `content`, fewer if it ends before; all that is left when `len` is the largest size_t. Moves
/// `state` on. Does not return for a content that never reports its end.
/// @throws blocxx::NULLReferenceException if `content` is null, and what getData() throws
ZOL_API blocxx::Array<char> getContentData(const ContentRef& content, ContentStreamStateRef& state, size_t len);

/// The first `len` bytes of `content`, read through a state of its own.
/// @throws ContentException if `content` is null
ZOL_API blocxx::Array<char> getContentData(const ContentRef& content, size_t len);

} // namespace ZOLNS2::MIME
