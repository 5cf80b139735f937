#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <vector>

#include "support/durable_file.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/temp_folder.h"

/// The identity of the file that a path leads to, as loading it gives it; none for what cannot be
/// loaded. Made without calls that a test may watch.
inline support::FileIdentity IdentityOf(const std::string& path) {
    support::FileIdentity identity;
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        identity.device = status.st_dev;
        identity.inode = status.st_ino;
        std::FILE* file = std::fopen(path.c_str(), "re");
        if (file != nullptr) {
            identity.file = support::FileDescriptor(fcntl(fileno(file), F_DUPFD_CLOEXEC, 3));
            (void)std::fclose(file);
        }
    }
    return identity;
}

/// Replaces the text of the file that stands there.
inline void ReplaceText(const std::string& path, const support::TextPieces& pieces) {
    support::FileIdentity loaded = IdentityOf(path);
    support::ReplaceFile(path.c_str(), loaded, pieces);
}

/// A folder with, or for, one file that is replaced.
class DurableFileTest : public testing::Test {
  protected:
    void Replace(const support::TextPieces& pieces = {"new"}) const { ReplaceText(m_path, pieces); }
    std::string FailureToReplace() const {
        return FailureOf([&] { Replace(); });
    }
    /// The path of the only entry of the folder whose name begins with a dot.
    std::string TemporaryFile() const {
        const std::vector<std::string> entries = EntriesOf(m_folder.Path());
        EXPECT_EQ(entries.size(), 2U);
        EXPECT_EQ(entries[0].substr(0, m_prefix.size()), m_prefix);
        EXPECT_EQ(entries[0].size(), m_prefix.size() + 6);
        return m_folder.File(entries[0]);
    }

    const TempFolder m_folder;
    const std::string m_path = m_folder.File("rc.conf");
    const std::string m_prefix = ".rc.conf.";
    const std::vector<std::string> m_fileAlone = {"rc.conf"};
};
