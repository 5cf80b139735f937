#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fixture/child_process.h"
#include "tests/fixture/temp_folder.h"

/// What one run of the tool did.
struct Answer {
    int code;  ///< exit code, or 128 and the number of the signal that ended it
    std::string out;
    std::string err;
};

using Words = std::vector<std::string>;

/// Starts a program with these words and returns its process; its streams are the files named, all
/// others are closed. An empty name is /dev/null.
pid_t Start(const Words& words, const std::string& in, const std::string& out,
            const std::string& err);

/// Waits for the end of a process; its exit code, or 128 and a signal's number.
int WaitForEnd(pid_t process);

/// The tool run as an operator runs it, on a configuration directory of the test's own.
class ToolTest : public ::testing::Test {
  protected:
    ToolTest();

    /// Runs the tool with -C and these words.
    Answer Run(const Words& words, std::string_view input = "") const;
    /// The same without -C.
    Answer RunBare(const Words& words, std::string_view input = "") const;

    /// Expects that the tool answers this on the standard output, and nothing else.
    void ExpectAnswer(const Words& words, std::string_view out, std::string_view input = "") const;
    /// Expects that the tool fails with this line on the standard error, without "siptrunkctl: ",
    /// and an empty standard output.
    void ExpectFailure(const Words& words, int code, const std::string& text,
                       std::string_view input = "") const;
    /// Runs a command that must succeed, for its effect.
    void Do(const Words& words, std::string_view input = "") const;

    /// Lets child processes of other users run the tool, too; before the first run.
    void OpenStreamsToEverybody() const;

    /// Starts a process that holds the device's lock and is stopped; the file "holder" of the
    /// folder has its number and name.
    std::unique_ptr<ChildProcess> StartStoppedHolder() const;

    const std::string& Folder() const { return m_folder.Path(); }
    std::string DatabasePath() const { return Folder() + "/telephony/siptrunkdb"; }
    std::string StartFilePath() const { return Folder() + "/sysconfig/rc.conf"; }
    std::string DatabaseText() const { return ReadFile(DatabasePath()); }
    void WriteDatabase(std::string_view text) const { WriteFile(DatabasePath(), text); }

  private:
    TempFolder m_folder;
    TempFolder m_streams;
};

/// Returns "NUMBER (NAME)" of the calling process; an emulated one has its emulator's name.
std::string NumberAndNameOfThisProcess();

/// A database with the agents' switches, a trunk to a master "office" (active, kept registered) and
/// a trunk for a slave "branch" (registered).
extern const char* const kTwoTrunks;
