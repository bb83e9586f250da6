#pragma once

#include "FilePlace.hpp"

#include <string>

namespace zolget
{

/// A file under a temporary name, in the folder of the target whose place it will take. Until then it is removed with
/// this object, and when a signal ends the process. (Signals that the process ignored or handled from the start are left
/// alone.) Only one may exist at a time.
///
/// It has the mode of the target if there is one, and else the mode that the umask gives to new files.
class TemporaryFile
{
public:
    /// Throws Failure (LOCAL_FILE).
    explicit TemporaryFile(FilePlace target);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Open for writing; -1 after becomeTarget.
    int descriptor() const { return m_file.get(); }

    /// Closes the file and renames it to the target. Throws Failure (LOCAL_FILE).
    void becomeTarget();

private:
    void adoptMode();

    FilePlace m_target;
    std::string m_name; ///< empty once there is no such file any more
    OpenDescriptor m_file;
};

} // namespace zolget
