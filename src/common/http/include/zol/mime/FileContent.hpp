#pragma once

#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

#include <memory>
#include <optional>

namespace ZOLNS2::MIME
{

/// A file, or a range of one, as a body of any type.
///
/// @code
/// const MIME::ContentRef photo(new MIME::FileContent("photo.jpg", "image/jpeg"));
/// const MIME::ContentRef rest(new MIME::FileContent("large.iso", 1048576, 4096)); // 4096 bytes behind the first MiB
/// @endcode
///
/// The file is opened when the content is made and stays open as long as the content (or a copy of it) lives: renaming,
/// replacing or removing the file changes nothing. The length is that of the moment the file was opened. What is
/// appended later is not delivered, and where the file becomes shorter getData() throws. Bytes that are overwritten
/// meanwhile are delivered as they are found.
///
/// A regular file whose size the system does not tell, such as those in /proc, has no length and is read to its end.
/// Only regular files can be used.
///
/// Any number of readers on any threads read it at once. errno stays what it was.
class ZOL_API FileContent : public Content, public ContentEnd
{
public:
    /// @throws ContentException if the file cannot be opened (with the system's error code) or is not a regular file,
    ///         or if `type` is not a media type
    explicit FileContent(const blocxx::String& path, const blocxx::String& type = "application/octet-stream");

    /// `length` bytes of the file, behind the first `offset` bytes.
    /// @throws ContentException also if the file is shorter
    FileContent(const blocxx::String& path, size_t offset, size_t length,
                const blocxx::String& type = "application/octet-stream");
    ~FileContent() override;

    ContentTypeHeader getContentType() override;

    /// False only for a whole file whose size the system does not tell.
    bool hasContentLength() override;
    /// @throws ContentException if it is not known
    size_t getContentLength() override;

    /// Returns 0 only for a request of 0 bytes, and END_OF_DATA only behind the last byte.
    /// @throws ContentException if the file cannot be read (with the system's error code) or has become shorter; the
    ///         message names the file
    /// @throws blocxx::NULLReferenceException if `state` is null or of another kind
    size_t getData(char* buf, size_t len, const ContentStreamStateRef& state) override;
    ContentStreamStateRef createInitialStreamState() const override;

    /// Whether the last read with `state` has thrown.
    /// @throws blocxx::NULLReferenceException if `state` is null or of another kind
    bool endedBadly(const ContentStreamStateRef& state) const override;

private:
    class OpenFile;
    class State;

    size_t readFile(char* buf, size_t len, State& state) const;

    std::shared_ptr<const OpenFile> m_file; // never null
    size_t m_offset = 0;
    std::optional<size_t> m_length;
    ContentTypeHeader m_type;
};

} // namespace ZOLNS2::MIME
