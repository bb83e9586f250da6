#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"

#include <fstream>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

namespace ZOLNS2::MIME
{

/// A reader's position in bytes held in memory.
class ZOL_API ApplicationOctetStreamContentStreamState : public ContentStreamState
{
public:
    ~ApplicationOctetStreamContentStreamState() override;

    size_t position = 0; ///< index of the next byte to deliver
};

class StoredBytes;

/// Bytes in memory, of type application/octet-stream. Never changed after construction, so readers on several threads
/// need no lock. Copies share the bytes.
///
/// @code
/// const std::vector<unsigned char> image = load();
/// const MIME::ContentRef body(new MIME::ApplicationOctetStreamContent(image.begin(), image.end()));
/// @endcode
class ZOL_API ApplicationOctetStreamContent : public Content, public ContentEnd
{
public:
    /// @name Copying the bytes they are given
    /// @{
    /// The bytes of the array.
    explicit ApplicationOctetStreamContent(const blocxx::Array<unsigned char>& bytes);
    /// For what getContentData() returns.
    explicit ApplicationOctetStreamContent(const blocxx::Array<char>& bytes);
    /// `length` bytes from `bytes` on.
    ApplicationOctetStreamContent(const char* bytes, size_t length);
    /// The bytes from `first` up to `last`: input iterators over char, signed char, unsigned char or std::byte.
    template <class Iterator, class Value = typename std::iterator_traits<Iterator>::value_type>
    ApplicationOctetStreamContent(Iterator first, Iterator last) : m_bytes(storeRange(first, last))
    {
        static_assert(sizeof(Value) == 1, "these iterators do not point to bytes");
    }
    /// @}
    ~ApplicationOctetStreamContent() override;

    ContentTypeHeader getContentType() override;
    bool hasContentLength() override;
    size_t getContentLength() override;
    size_t getData(char* buf, size_t len, const ContentStreamStateRef& state) override;
    ContentStreamStateRef createInitialStreamState() const override;

    /// Never: all bytes are there.
    bool endedBadly(const ContentStreamStateRef& state) const override;

private:
    friend class OwnBytes;
    friend class ReceivedOctetStream;

    explicit ApplicationOctetStreamContent(std::shared_ptr<const StoredBytes> bytes);
    static std::shared_ptr<const StoredBytes> store(const void* bytes, size_t count);

    template <class Iterator>
    static std::shared_ptr<const StoredBytes> storeRange(Iterator first, Iterator last)
    {
        if constexpr (std::is_pointer_v<Iterator>)
        {
            return store(first, static_cast<size_t>(last - first));
        }
        else
        {
            std::vector<char> bytes;
            for (; first != last; ++first)
            {
                bytes.push_back(static_cast<char>(*first));
            }
            return store(bytes.data(), bytes.size());
        }
    }

    std::shared_ptr<const StoredBytes> m_bytes; // never null
};

/// A reader's position in a list of files.
class ZOL_API FileApplicationOctetStreamContentStreamState : public ContentStreamState
{
public:
    ~FileApplicationOctetStreamContentStreamState() override;

    std::ifstream file;   ///< the file being read
    size_t fileIndex = 0; ///< which of the names it belongs to
};

/// The bytes of one or more files as one body, read when they are asked for, of type application/octet-stream. The
/// names are neither opened nor checked at construction; every new reading opens the files again.
///
/// getData() never reads across the end of a file, and returns 0 when a file ended exactly with the read before. A
/// later file that cannot be opened ends the body. Deliberate: if the first one cannot be opened, or after such an
/// early end, getData() returns 0 for ever and never reports the end of the data.
///
/// @code
/// blocxx::Array<blocxx::String> names;
/// names.push_back("first.bin");
/// names.push_back("second.bin");
/// const MIME::ContentRef both(new MIME::FileApplicationOctetStreamContent(names));
/// @endcode
class ZOL_API FileApplicationOctetStreamContent : public Content, public ContentEnd
{
public:
    /// Files in the order in which they are delivered.
    explicit FileApplicationOctetStreamContent(const blocxx::Array<blocxx::String>& fileNames);
    /// One file.
    explicit FileApplicationOctetStreamContent(const blocxx::String& fileName);
    ~FileApplicationOctetStreamContent() override;

    ContentTypeHeader getContentType() override;
    bool hasContentLength() override;
    /// The files' sizes at this moment, added up.
    /// @throws ContentException with the system's error code if the size of a file cannot be determined
    size_t getContentLength() override;
    size_t getData(char* buf, size_t len, const ContentStreamStateRef& state) override;
    ContentStreamStateRef createInitialStreamState() const override;

    /// Whether a file could not be opened or read.
    /// @throws blocxx::NULLReferenceException if `state` is null or of another kind
    bool endedBadly(const ContentStreamStateRef& state) const override;

private:
    blocxx::Array<blocxx::String> m_fileNames;
};

} // namespace ZOLNS2::MIME
