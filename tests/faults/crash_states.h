#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/faults/disturbed_calls.h"

// What a disk may hold after a power cut. A file system may delay each effect of a call until a
// sync of the file or the folder that it concerns, and may do those that it delays in any order; so
// the disk may show any subset of what was not synced, and a part of a write or zeros in its place.

/// The files that matter, as they stand on a disk.
struct Disk {
    struct File {
        std::string bytes;
        mode_t mode = 0;
        uid_t user = 0;
        gid_t group = 0;
        std::string accessList{};
    };
    using Entry = std::pair<ino_t, std::string>;  // folder and name

    std::map<Entry, ino_t> entries;
    std::map<ino_t, File> files;

    /// The file of an entry; null when there is none.
    const File* Find(const Entry& entry) const;
};

/// Called with each state that the disk may be in.
/// @param isOver whether the cut comes after the last of the effects
using CrashVisitor = std::function<void(const Disk& disk, bool isOver)>;

/// Goes through all states for a cut before, between and after these effects.
/// Returns how many there were; the same state in two ways counts as two.
std::size_t VisitCrashStates(const Disk& before, const std::vector<DiskEffect>& effects,
                             const CrashVisitor& visit);
