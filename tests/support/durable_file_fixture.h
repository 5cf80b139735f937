#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/durable_file.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/temp_folder.h"

/// A folder with, or for, one file that is replaced.
class DurableFileTest : public testing::Test {
  protected:
    void Replace(const TextPieces& pieces = {"new"}) const { ReplaceFile(m_path.c_str(), pieces); }
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
