#include "zol/mime/OctetStreamContent.hpp"

#include "content/HTTPContentUnit.hpp"
#include "content/OwnState.hpp"
#include "content/StoredBytes.hpp"

#include "zol/mime/ContentException.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace ZOLNS2::MIME
{

namespace
{

/// application/octet-stream, the type of bytes about which nothing more is known (RFC 2046, section 4.5.1).
ContentTypeHeader octetStreamType()
{
    return ContentTypeHeader("application", "octet-stream", blocxx::Array<HTTP::Parameter>());
}

/// Null for an empty array, which has no first element.
template <class Byte>
const Byte* firstOf(const blocxx::Array<Byte>& bytes)
{
    return bytes.empty() ? nullptr : &bytes[0];
}

// A request for "everything", all bits set, is passed to the stream and the system in smaller pieces.
constexpr size_t STEP = 65536;

/// Closes the file and opens the next one, if there is one.
/// @return false if there is nothing more to read
bool goToNextFile(FileApplicationOctetStreamContentStreamState& state, const blocxx::Array<blocxx::String>& fileNames)
{
    if (state.fileIndex >= fileNames.size())
    {
        return false;
    }
    state.file.close();
    ++state.fileIndex;
    if (state.fileIndex < fileNames.size())
    {
        state.file.clear();
        state.file.open(fileNames[state.fileIndex].c_str(), std::ios_base::in);
    }
    // After the last file this is the failbit of the read that met its end.
    return !state.file.fail();
}

/// Up to `len` bytes; fewer only when the file ends or fails.
size_t readFrom(std::ifstream& file, char* buf, size_t len)
{
    size_t total = 0;
    do
    {
        file.read(buf + total, static_cast<std::streamsize>(std::min(len - total, STEP)));
        total += static_cast<size_t>(file.gcount());
    } while (total < len && file.good());
    return total;
}

} // namespace

ApplicationOctetStreamContentStreamState::~ApplicationOctetStreamContentStreamState() = default;

ApplicationOctetStreamContent::ApplicationOctetStreamContent(const blocxx::Array<unsigned char>& bytes)
    : m_bytes(store(firstOf(bytes), bytes.size()))
{
}

ApplicationOctetStreamContent::ApplicationOctetStreamContent(const blocxx::Array<char>& bytes)
    : m_bytes(store(firstOf(bytes), bytes.size()))
{
}

ApplicationOctetStreamContent::ApplicationOctetStreamContent(const char* bytes, size_t length)
    : m_bytes(store(bytes, length))
{
}

ApplicationOctetStreamContent::ApplicationOctetStreamContent(std::shared_ptr<const StoredBytes> bytes)
    : m_bytes(std::move(bytes))
{
}

std::shared_ptr<const StoredBytes> ApplicationOctetStreamContent::store(const void* bytes, size_t count)
{
    return std::make_shared<const StoredBytes>(static_cast<const char*>(bytes), count);
}

ApplicationOctetStreamContent::~ApplicationOctetStreamContent() = default;

ContentTypeHeader ApplicationOctetStreamContent::getContentType()
{
    return octetStreamType();
}

bool ApplicationOctetStreamContent::hasContentLength()
{
    return true;
}

size_t ApplicationOctetStreamContent::getContentLength()
{
    return m_bytes->size();
}

size_t ApplicationOctetStreamContent::getData(char* buf, size_t len, const ContentStreamStateRef& state)
{
    auto& own = ownState<ApplicationOctetStreamContentStreamState>(state);
    const size_t size = m_bytes->size();
    if (own.position >= size)
    {
        return END_OF_DATA;
    }
    const size_t count = std::min(len, size - own.position);
    m_bytes->copy(own.position, count, buf);
    own.position += count;
    return count;
}

ContentStreamStateRef ApplicationOctetStreamContent::createInitialStreamState() const
{
    return ContentStreamStateRef(new ApplicationOctetStreamContentStreamState);
}

bool ApplicationOctetStreamContent::endedBadly(const ContentStreamStateRef&) const
{
    return false;
}

FileApplicationOctetStreamContentStreamState::~FileApplicationOctetStreamContentStreamState() = default;

FileApplicationOctetStreamContent::FileApplicationOctetStreamContent(const blocxx::Array<blocxx::String>& fileNames)
    : m_fileNames(fileNames)
{
}

FileApplicationOctetStreamContent::FileApplicationOctetStreamContent(const blocxx::String& fileName)
    : m_fileNames(1, fileName)
{
}

FileApplicationOctetStreamContent::~FileApplicationOctetStreamContent() = default;

ContentTypeHeader FileApplicationOctetStreamContent::getContentType()
{
    return octetStreamType();
}

bool FileApplicationOctetStreamContent::hasContentLength()
{
    return true;
}

size_t FileApplicationOctetStreamContent::getContentLength()
{
    const blocxx::Array<blocxx::String>& fileNames = m_fileNames;
    size_t length = 0;
    for (const blocxx::String& fileName : fileNames)
    {
        struct stat status = {};
        if (::stat(fileName.c_str(), &status) != 0)
        {
            throw blocxx::ExceptionDetail::Errno<ContentException>::format(SOURCE_UNIT, __LINE__, "stat", errno);
        }
        length += static_cast<size_t>(status.st_size);
    }
    return length;
}

size_t FileApplicationOctetStreamContent::getData(char* buf, size_t len, const ContentStreamStateRef& state)
{
    auto& own = ownState<FileApplicationOctetStreamContentStreamState>(state);
    // Deliberate: a file that could not be opened has no end-of-file flag, so it is read, in vain, for ever.
    if (own.file.eof() && !goToNextFile(own, m_fileNames))
    {
        return END_OF_DATA;
    }
    return readFrom(own.file, buf, len);
}

ContentStreamStateRef FileApplicationOctetStreamContent::createInitialStreamState() const
{
    blocxx::IntrusiveReference<FileApplicationOctetStreamContentStreamState> state(
        new FileApplicationOctetStreamContentStreamState);
    if (!m_fileNames.empty())
    {
        state->file.open(m_fileNames[0].c_str(), std::ios_base::in);
    }
    return state;
}

bool FileApplicationOctetStreamContent::endedBadly(const ContentStreamStateRef& state) const
{
    const auto& own = ownState<FileApplicationOctetStreamContentStreamState>(state);
    // A file that was read to its end leaves eof beside fail; one that could not be opened leaves fail alone.
    return own.file.bad() || (own.file.fail() && !own.file.eof());
}

} // namespace ZOLNS2::MIME
