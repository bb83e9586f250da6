#include "TemporaryFile.hpp"

#include "RemovalOnSignal.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <utility>

namespace zolget
{

namespace
{

std::string randomName()
{
    std::random_device random;
    char name[32];
    std::snprintf(name, sizeof(name), ".zolget-%08x%08x", random(), random());
    return name;
}

/// The mode that a new file gets from open(2).
mode_t modeOfNewFiles()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

TemporaryFile::TemporaryFile(FilePlace target) : m_target(std::move(target))
{
    RemovalOnSignal::installHandler();
    const RemovalOnSignal::SignalsBlocked blocked;
    do
    {
        m_name = randomName();
        m_file = OpenDescriptor(::openat(m_target.folder.get(), m_name.c_str(),
                                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    } while (m_file.get() < 0 && errno == EEXIST);
    if (m_file.get() < 0)
    {
        failToWrite(m_target.path, errno);
    }
    RemovalOnSignal::remember(m_target.folder.get(), m_name);
    adoptMode();
}

/// Owner and group are kept too, as far as the process may give files away.
void TemporaryFile::adoptMode()
{
    struct stat earlier = {};
    const bool isThere = ::fstatat(m_target.folder.get(), m_target.name.c_str(), &earlier, AT_SYMLINK_NOFOLLOW) == 0 &&
                         S_ISREG(earlier.st_mode);
    if (!isThere)
    {
        ::fchmod(m_file.get(), modeOfNewFiles());
        return;
    }
    if (::fchown(m_file.get(), earlier.st_uid, earlier.st_gid) != 0)
    {
        (void)!::fchown(m_file.get(), static_cast<uid_t>(-1), earlier.st_gid);
    }
    ::fchmod(m_file.get(), earlier.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO));
}

TemporaryFile::~TemporaryFile()
{
    if (!m_name.empty())
    {
        const RemovalOnSignal::SignalsBlocked blocked;
        ::unlinkat(m_target.folder.get(), m_name.c_str(), 0);
        RemovalOnSignal::forget();
    }
}

void TemporaryFile::becomeTarget()
{
    if (!m_file.close())
    {
        failToWrite(m_target.path, errno);
    }
    const RemovalOnSignal::SignalsBlocked blocked;
    if (::renameat(m_target.folder.get(), m_name.c_str(), m_target.folder.get(), m_target.name.c_str()) != 0)
    {
        failToWrite(m_target.path, errno);
    }
    m_name.clear();
    RemovalOnSignal::forget();
}

} // namespace zolget
