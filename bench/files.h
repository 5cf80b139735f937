#pragma once

#include <string>
#include <string_view>

#include "bench/trunk_data.h"

/// A new folder, removed with the object.
class ScratchFolder {
  public:
    /// @param parent an existing folder; decides whether the files are on the disk or in memory
    explicit ScratchFolder(const std::string& parent);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& Path() const { return m_path; }

  private:
    std::string m_path;
};

/// The lock of everything that is measured beside the library: a System V semaphore, taken and
/// released by one system call each, as the library's.
class BenchLock {
  public:
    BenchLock();
    ~BenchLock();
    BenchLock(const BenchLock&) = delete;
    BenchLock& operator=(const BenchLock&) = delete;
};

/// Writes a new file, without a sync.
void WriteText(const std::string& path, std::string_view text);

/// Replaces a file so that a power cut leaves the old or the new one: temporary file, fsync,
/// rename, fsync of the folder.
void ReplaceDurably(const std::string& folder, const std::string& path, std::string_view text);

/// The text of a trunk database: the switches and the trunks as the library writes them, a comment
/// before every eighth trunk.
std::string DatabaseText(int trunks);
