#include "FilePlace.hpp"

#include "Failure.hpp"

#include <fcntl.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace zolget
{

namespace
{

constexpr int MOST_LINKS = 40; // as many as the kernel follows

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

std::string nameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

void requireFollowable(int folder, const struct stat& link, const std::string& path)
{
    struct stat holder = {};
    if (::fstat(folder, &holder) != 0)
    {
        failToWrite(path, errno);
    }
    constexpr mode_t SHARED = S_ISVTX | S_IWOTH;
    const bool isShared = (holder.st_mode & SHARED) == SHARED;
    if (isShared && link.st_uid != ::geteuid() && link.st_uid != holder.st_uid)
    {
        throw Failure(ExitStatus::LOCAL_FILE, "cannot write " + path +
                                                  ": it is a symbolic link of another user in a folder that everybody "
                                                  "may write to");
    }
}

std::string targetOf(const FilePlace& link)
{
    char target[PATH_MAX];
    const ssize_t length = ::readlinkat(link.folder.get(), link.name.c_str(), target, sizeof(target));
    if (length < 0 || length == static_cast<ssize_t>(sizeof(target)))
    {
        failToWrite(link.path, length < 0 ? errno : ENAMETOOLONG);
    }
    return {target, static_cast<std::size_t>(length)};
}

} // namespace

std::optional<struct stat> FilePlace::status() const
{
    struct stat found = {};
    if (::fstatat(folder.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0)
    {
        return found;
    }
    if (errno != ENOENT)
    {
        failToWrite(path, errno);
    }
    return std::nullopt;
}

FilePlace locate(const std::string& path, const std::string& shown)
{
    FilePlace place;
    place.path = shown.empty() ? path : shown;
    std::string rest = path;
    for (int links = 0; links <= MOST_LINKS; ++links)
    {
        const int from = place.folder.get() < 0 ? AT_FDCWD : place.folder.get();
        OpenDescriptor folder(::openat(from, folderOf(rest).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (folder.get() < 0)
        {
            failToWrite(place.path, errno);
        }
        place.folder = std::move(folder);
        place.name = nameOf(rest);
        if (place.name.empty() || place.name == "." || place.name == "..")
        {
            failToWrite(place.path, EISDIR);
        }
        const std::optional<struct stat> found = place.status();
        if (!found.has_value() || !S_ISLNK(found->st_mode))
        {
            return place;
        }
        requireFollowable(place.folder.get(), *found, place.path);
        rest = targetOf(place);
    }
    failToWrite(place.path, ELOOP);
}

OpenDescriptor openFolder(const std::string& path)
{
    const std::string shown = "into the folder " + path;
    const std::string trimmed = path.substr(0, path.find_last_not_of('/') + 1);
    const std::string name = nameOf(trimmed);
    OpenDescriptor folder;
    if (name.empty() || name == "." || name == "..")
    {
        folder = OpenDescriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    else
    {
        const FilePlace place = locate(trimmed, shown);
        (void)::mkdirat(place.folder.get(), place.name.c_str(), 0777);
        folder = OpenDescriptor(
            ::openat(place.folder.get(), place.name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    }
    if (folder.get() < 0 || ::faccessat(folder.get(), ".", W_OK | X_OK, AT_EACCESS) != 0)
    {
        failToWrite(shown, errno);
    }
    return folder;
}

FilePlace placeIn(int folder, const std::string& folderPath, const std::string& name)
{
    FilePlace place;
    place.path = folderPath + "/" + name;
    place.name = name;
    place.folder = OpenDescriptor(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
    if (place.folder.get() < 0)
    {
        failToWrite(place.path, errno);
    }
    return place;
}

void failToWrite(const std::string& path, int error)
{
    const char* const addition = error == EFBIG ? " (the limit for the size of files is reached)" : "";
    throw Failure(ExitStatus::LOCAL_FILE, "cannot write " + path + ": " + std::strerror(error) + addition);
}

} // namespace zolget
