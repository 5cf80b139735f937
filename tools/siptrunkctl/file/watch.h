#pragma once

#include <string>

#include "support/file_descriptor.h"
#include "support/file_status.h"

/// Sleeps until a file may have changed. Every save puts another file in the place of the old one,
/// and links or whole folders above may be replaced too, so all folders on the way are watched.
class FileWatch {
  public:
    /// What may have happened.
    enum class News { kFile, kFolderReplaced, kFolderGone };

    /// @param path absolute, or relative to the working folder
    ///
    /// Throws std::system_error when its folder cannot be watched.
    explicit FileWatch(const std::string& path);

    /// Waits for the next news. Throws std::system_error.
    News Wait();

  private:
    bool WaitForEvent() const;
    void WatchAll();

    std::string m_path;
    std::string m_name;  // of the file in its folder, after links
    support::FileDescriptor m_events;
    support::FileStatus m_folder;  // of the folder that the file is in; mode 0 while there is none
    support::FileStatus m_file;    // the one last seen
};
