#include "blocxx/FileAppender.hpp"

#include "core/FileDescriptor.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/internal/CancellationOff.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <string>

namespace blocxx
{

const GlobalString FileAppender::STR_DEFAULT_MESSAGE_PATTERN =
    BLOCXX_GLOBAL_STRING_INIT("%d{%a %b %d %H:%M:%S %Y} [%t]: %m");

class FileAppender::File
{
public:
    File(const char* name, bool flush) : m_name(name != nullptr ? name : ""), m_flush(flush)
    {
        if (!open())
        {
            throw LoggerException("FileAppender", __LINE__,
                                  Format("FileAppender: Unable to open file: %1", m_name).c_str());
        }
    }

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    ~File()
    {
        const Internal::CancellationOff writing;
        writePending();
    }

    void writeLine(const String& text)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (isElsewhere())
        {
            writePending();
            open();
        }
        m_pending.append(text.c_str(), text.length());
        m_pending += '\n';
        if (m_flush || m_pending.size() >= GATHERED_BYTES)
        {
            writePending();
        }
    }

private:
    static constexpr std::size_t GATHERED_BYTES = 8192;

    bool open()
    {
        struct stat status;
        m_descriptor = FileDescriptor(::open(m_name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
        if (!m_descriptor.isOpen() || ::fstat(m_descriptor.get(), &status) != 0)
        {
            m_descriptor.close();
            return false;
        }
        m_device = status.st_dev;
        m_inode = status.st_ino;
        return true;
    }

    /// Whether the name is gone or belongs to another file than the open one.
    bool isElsewhere() const
    {
        struct stat status;
        return !m_descriptor.isOpen() || ::stat(m_name.c_str(), &status) != 0 || status.st_dev != m_device ||
               status.st_ino != m_inode;
    }

    /// Bytes that cannot be written are dropped.
    void writePending()
    {
        const char* from = m_pending.data();
        std::size_t left = m_pending.size();
        while (left > 0 && m_descriptor.isOpen())
        {
            const ssize_t written = ::write(m_descriptor.get(), from, left);
            if (written < 0 && errno != EINTR)
            {
                break;
            }
            const std::size_t taken = written < 0 ? 0 : static_cast<std::size_t>(written);
            from += taken;
            left -= taken;
        }
        m_pending.clear();
    }

    const std::string m_name;
    const bool m_flush;
    std::mutex m_mutex;
    std::string m_pending;
    FileDescriptor m_descriptor;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

FileAppender::FileAppender(const StringArray& components, const StringArray& categories, const char* filename,
                           const String& pattern, bool flushLog)
    : LogAppender(components, categories, pattern), m_file(std::make_unique<File>(filename, flushLog))
{
}

FileAppender::~FileAppender() = default;

void FileAppender::doProcessLogMessage(const String& formattedMessage, const LogMessage&) const
{
    m_file->writeLine(formattedMessage);
}

} // namespace blocxx
