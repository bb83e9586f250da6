#pragma once

#include "OpenDescriptor.hpp"

#include <sys/stat.h>

#include <optional>
#include <string>

namespace zolget
{

/// Where a file is or will be: a name in an open folder, so that what happens to the path meanwhile does not matter.
struct FilePlace
{
    OpenDescriptor folder;
    std::string name;
    std::string path; ///< for messages

    /// What is there now; a symbolic link is not followed. None if there is nothing.
    std::optional<struct stat> status() const;
};

/// The place that a path leads to. Symbolic links at its end are followed by the rule of fs.protected_symlinks (proc(5)),
/// whether or not the system has it switched on: one in a sticky folder that everybody may write to must belong to this
/// process's user or to the folder's owner. What is at the place need not exist. Throws Failure (LOCAL_FILE).
/// @param shown what to call it in messages; empty for the path
FilePlace locate(const std::string& path, const std::string& shown = std::string());

/// Opens the folder that a path leads to, to work in; creates it if there is none. Links are followed as by locate().
/// Throws Failure (LOCAL_FILE).
OpenDescriptor openFolder(const std::string& path);

/// The place of a name in a folder, where no link is followed. Throws Failure (LOCAL_FILE).
FilePlace placeIn(int folder, const std::string& folderPath, const std::string& name);

/// Throws the Failure (LOCAL_FILE) for a file that cannot be written, with the reason for an `errno` value.
[[noreturn]] void failToWrite(const std::string& path, int error);

} // namespace zolget
