#include "zol/mime/FileContent.hpp"

#include "content/OwnState.hpp"
#include "exchange/MediaType.hpp"
#include "exchange/Refusal.hpp"
#include "exchange/Text.hpp"

#include "blocxx/ErrnoKeeper.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/internal/CancellationOff.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

namespace ZOLNS2::MIME
{

namespace
{

using blocxx::String;

constexpr size_t BLOCK_SIZE = 65536;

// A read of this size saves the copy that a block costs.
constexpr size_t DIRECT_SIZE = 16384;
// More than this is read in several calls.
constexpr size_t LARGEST_READ = 1U << 30U;

} // namespace

/// An open regular file.
class FileContent::OpenFile
{
public:
    explicit OpenFile(const String& path) : m_path(path)
    {
        // A path that the system sees only the beginning of would be another file.
        if (path.indexOf('\0') != String::npos)
        {
            refuseContentWithErrno("Cannot open " + HTTP::printable(path), ENOENT);
        }
        do
        {
            // Without O_NONBLOCK the opening of a FIFO waits for its writer.
            m_descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        } while (m_descriptor < 0 && errno == EINTR);
        if (m_descriptor < 0)
        {
            refuseContentWithErrno("Cannot open " + HTTP::printable(path), errno);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile()
    {
        const blocxx::Internal::CancellationOff closing;
        ::close(m_descriptor);
    }

    const String& path() const { return m_path; }

    /// @return how many bytes were read; 0 at the end
    /// @throws ContentException
    size_t read(char* buf, size_t len, size_t position) const
    {
        ssize_t count = 0;
        do
        {
            count = ::pread(m_descriptor, buf, std::min(len, LARGEST_READ), static_cast<off_t>(position));
        } while (count < 0 && errno == EINTR);
        if (count < 0)
        {
            refuseContentWithErrno("Cannot read " + HTTP::printable(m_path), errno);
        }
        return static_cast<size_t>(count);
    }

    /// The size of the file, if the system tells it.
    std::optional<size_t> size() const
    {
        struct stat status = {};
        if (::fstat(m_descriptor, &status) != 0)
        {
            refuseContentWithErrno("Cannot tell the size of " + HTTP::printable(m_path), errno);
        }
        if (S_ISDIR(status.st_mode))
        {
            refuseContentWithErrno("Cannot read " + HTTP::printable(m_path), EISDIR);
        }
        if (!S_ISREG(status.st_mode))
        {
            refuseContent("Cannot use " + HTTP::printable(m_path) + " as a content: it is not a regular file");
        }
        // The files that the kernel makes up claim to be empty.
        char byte = 0;
        const bool isTold = status.st_size != 0 || read(&byte, 1, 0) == 0;
        return isTold ? std::optional<size_t>(static_cast<size_t>(status.st_size)) : std::nullopt;
    }

private:
    String m_path;
    int m_descriptor = -1;
};

/// The position of one reader. Small reads are served from a block of its own.
class FileContent::State : public ContentStreamState
{
public:
    /// Copies at most `len` bytes of the block.
    size_t takeBlock(char* buf, size_t len)
    {
        const size_t count = std::min(len, blockEnd - blockPosition);
        if (count != 0)
        {
            std::memcpy(buf, block.get() + blockPosition, count);
            blockPosition += count;
        }
        return count;
    }

    size_t position = 0; ///< of the next byte to read, counted from the beginning of the range
    std::unique_ptr<char[]> block;
    size_t blockPosition = 0;
    size_t blockEnd = 0;
    bool failed = false;
};

FileContent::FileContent(const String& path, const String& type) : m_type(parseMediaType(type))
{
    const blocxx::ErrnoKeeper errnoKeeper;
    m_file = std::make_shared<const OpenFile>(path);
    m_length = m_file->size();
}

FileContent::FileContent(const String& path, size_t offset, size_t length, const String& type) : FileContent(path, type)
{
    const size_t size = m_length.value_or(std::numeric_limits<off_t>::max());
    if (offset > size || length > size - offset)
    {
        refuseContent(blocxx::Format("Cannot take %1 bytes at offset %2 of %3: it has %4", length, offset,
                                     HTTP::printable(path), size));
    }
    m_offset = offset;
    m_length = length;
}

FileContent::~FileContent() = default;

ContentTypeHeader FileContent::getContentType()
{
    return m_type;
}

bool FileContent::hasContentLength()
{
    return m_length.has_value();
}

size_t FileContent::getContentLength()
{
    if (!m_length)
    {
        refuseContent("The system does not tell the size of " + HTTP::printable(m_file->path()));
    }
    return *m_length;
}

size_t FileContent::getData(char* buf, size_t len, const ContentStreamStateRef& state)
{
    const blocxx::ErrnoKeeper errnoKeeper;
    auto& own = ownState<State>(state);
    const size_t held = own.takeBlock(buf, len);
    if (held != 0)
    {
        return held;
    }
    if (len >= DIRECT_SIZE)
    {
        return readFile(buf, len, own);
    }
    if (!own.block)
    {
        own.block.reset(new char[std::min(BLOCK_SIZE, std::max<size_t>(m_length.value_or(BLOCK_SIZE), 1))]);
    }
    const size_t count = readFile(own.block.get(), BLOCK_SIZE, own);
    if (count == END_OF_DATA)
    {
        return END_OF_DATA;
    }
    own.blockPosition = 0;
    own.blockEnd = count;
    return own.takeBlock(buf, len);
}

/// @return never 0
size_t FileContent::readFile(char* buf, size_t len, State& state) const
{
    const size_t left = m_length.value_or(std::numeric_limits<off_t>::max()) - state.position;
    if (left == 0)
    {
        return END_OF_DATA;
    }
    state.failed = true; // unless nothing is thrown
    const size_t count = m_file->read(buf, std::min(len, left), m_offset + state.position);
    if (count == 0 && m_length)
    {
        refuseContent(blocxx::Format("%1 has become shorter: it ended behind %2 of %3 bytes",
                                     HTTP::printable(m_file->path()), state.position, *m_length));
    }
    state.failed = false;
    state.position += count;
    return count == 0 ? END_OF_DATA : count;
}

ContentStreamStateRef FileContent::createInitialStreamState() const
{
    return ContentStreamStateRef(new State);
}

bool FileContent::endedBadly(const ContentStreamStateRef& state) const
{
    return ownState<State>(state).failed;
}

} // namespace ZOLNS2::MIME
