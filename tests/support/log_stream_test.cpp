#include "support/log_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/fixture/canceled_thread.h"
#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/file_kinds.h"
#include "tests/fixture/temp_folder.h"

namespace {

constexpr int kNoLimit = std::numeric_limits<int>::max();

struct Settings {
    bool append = true;
    bool create = true;
    int maxFileSize = kNoLimit;
    unsigned int bufferSize = 2048;
    bool syncAtFlush = false;
};

class Log : public LogStream {
  public:
    explicit Log(const std::string& path, const Settings& settings = {})
        : LogStream(path.c_str(), settings.append, settings.create, settings.maxFileSize, 1,
                    settings.bufferSize, settings.syncAtFlush) {}

    void Write(const std::string& text) {
        TRACE(3, "%s", text.c_str());
        Flush();
    }
};

class LogStreamTest : public testing::Test {
  protected:
    std::string Text() const { return ReadFile(m_path); }

    const TempFolder m_folder;
    const std::string m_path = m_folder.File("log");
};

__attribute__((format(printf, 2, 3))) void TraceList(LogStream& log, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    log.TRACE(1, format, arguments, 0);
    va_end(arguments);
}

TEST_F(LogStreamTest, FormatsAndArgumentsReachTheFileAsPrintfWouldWriteThem) {
    {
        Log log(m_path);
        log.TRACE(3, "100%%|");
        log.TRACE(3, "%s@%s:%d\n", "user", "host", 5060);
        TraceList(log, "list %s %03hu\n", "of", static_cast<unsigned short>(7));
        log.Flush();
        EXPECT_EQ(Text(), "100%|user@host:5060\nlist of 007\n");
    }
    EXPECT_EQ(Text(), "100%|user@host:5060\nlist of 007\n");
}

TEST_F(LogStreamTest, EveryLevelIsWritten) {
    Log log(m_path);
    std::string expected;
    for (int level = 0; level < 256; ++level) {
        log.TRACE(static_cast<unsigned char>(level), "%d\n", level);
        log.Flush();
        expected += std::to_string(level) + "\n";
    }
    EXPECT_EQ(Text(), expected);
}

TEST_F(LogStreamTest, WhatWasAddedReachesTheKernelInOneWriteAtTheFlush) {
    Log log(m_path);
    const CallWatch writes(Call::kWrite);
    for (int line = 1; line <= 3; ++line) {
        log.TRACE(3, "12:00:00.000  ");
        log.TRACE(3, "message %d\n", line);
        EXPECT_EQ(writes.Count(), line - 1);
        log.Flush();
        EXPECT_EQ(writes.Count(), line);
    }
    log.Flush();
    EXPECT_EQ(writes.Count(), 3) << "there was nothing to write";
}

TEST_F(LogStreamTest, ALineOfAnyLengthIsOneWriteWithoutLoss) {
    Log log(m_path);
    std::string expected;
    for (const std::size_t length : {0U, 1U, 2047U, 2048U, 2049U, 5000U, 1000000U}) {
        const std::string line(length, 'x');
        const CallWatch writes(Call::kWrite);
        log.TRACE(3, "%s", line.c_str());
        log.Write("\n");
        EXPECT_EQ(writes.Count(), 1) << length;
        expected += line + "\n";
    }
    EXPECT_TRUE(Text() == expected);
}

TEST_F(LogStreamTest, TheEndOfTheLogWritesWhatWasNotFlushed) {
    {
        Log log(m_path);
        log.TRACE(3, "last\n");
        EXPECT_EQ(Text(), "");
    }
    EXPECT_EQ(Text(), "last\n");
    EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
}

TEST_F(LogStreamTest, ControlCharactersAreEscapedSoThatNoTextForgesALine) {
    const struct {
        std::string message, written;
    } cases[] = {
        {"", ""},
        {"\n", "\n"},
        {"line\n", "line\n"},
        {"\n\n", "\\x0a\n"},
        {"a\nb", "a\\x0ab"},
        {"a\nERROR: forged\n", "a\\x0aERROR: forged\n"},
        {"a\r\n", "a\\x0d\n"},
        {"\x1b[31m\t\x7f", "\\x1b[31m\\x09\\x7f"},
        {"\\x41 %s ~", "\\x41 %s ~"},
        {"Z\xc3\xbcrich \xff", "Z\xc3\xbcrich \xff"},
        {"\x9b[2J \xc2\x9b \xe2\x80\xae", "\\x9b[2J \\xc2\\x9b \\xe2\\x80\\xae"},
    };
    for (const auto& c : cases) {
        Log log(m_path, {false, true});
        log.TRACE(3, "%s", c.message.c_str());
        log.TRACE(3, "|");
        log.Flush();
        EXPECT_EQ(Text(), c.written + "|");
    }
}

TEST_F(LogStreamTest, EveryControlCharacterIsEscapedAndNoOther) {
    Log log(m_path);
    std::string expected;
    for (int code = 0; code < 256; ++code) {
        log.TRACE(3, "%c.", code);
        const bool isControl = code < 32 || (code >= 127 && code < 160);
        const char* const digits = "0123456789abcdef";
        expected += isControl ? std::string("\\x") + digits[code / 16] + digits[code % 16]
                              : std::string(1, static_cast<char>(code));
        expected += ".";
    }
    log.Flush();
    EXPECT_EQ(Text(), expected);
}

TEST_F(LogStreamTest, AnOldLogIsContinuedOrEmptied) {
    WriteFile(m_path, "old\n");
    Log(m_path).Write("new\n");
    EXPECT_EQ(Text(), "old\nnew\n");
    Log(m_path, {false, true}).Write("alone\n");
    EXPECT_EQ(Text(), "alone\n");
}

TEST_F(LogStreamTest, ANewLogHasItsModeLessTheUmaskAndAnOldOneKeepsIts) {
    for (const mode_t mask : {0U, 022U, 027U, 077U}) {
        const mode_t old = umask(mask);
        { const Log log(m_path); }
        umask(old);
        EXPECT_EQ(ModeOf(m_path), 0640U & ~mask) << mask;
        ASSERT_EQ(unlink(m_path.c_str()), 0);
    }
    WriteFile(m_path, "");
    ASSERT_EQ(chmod(m_path.c_str(), 0604), 0);
    { const Log log(m_path); }
    EXPECT_EQ(ModeOf(m_path), 0604U);
}

TEST_F(LogStreamTest, ALogThatCannotBeOpenedIsAFailureThatNamesThePath) {
    const std::string inMissingFolder = m_folder.File("missing/log");
    const std::string folder = m_folder.File("folder");
    const std::string fifo = m_folder.File("fifo");
    MakeFileOfKind(FileKind::kFolder, folder);
    MakeFileOfKind(FileKind::kFifo, fifo);
    const struct {
        std::string path;
        bool create;
        int error;
    } cases[] = {
        {m_path, false, ENOENT}, {inMissingFolder, true, ENOENT},
        {folder, true, EISDIR},  {fifo, true, ENXIO},
        {"", true, ENOENT},
    };
    for (const auto& c : cases) {
        const auto open = [&] { const Log log(c.path, {true, c.create}); };
        EXPECT_EQ(FailureOf(open), c.path + ": open log: " + ErrorText(c.error));
        EXPECT_THROW(open(), std::system_error);
    }
    EXPECT_EQ(EntriesOf(m_folder.Path()), (std::vector<std::string>{"fifo", "folder"}));
}

TEST_F(LogStreamTest, APipeIsNoLogEvenWithAReader) {
    MakeFileOfKind(FileKind::kFifo, m_path);
    const int reader = open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(FailureOf([&] { const Log log(m_path); }),
              m_path + ": open log (a pipe, not a file): " + ErrorText(EINVAL));
    EXPECT_EQ(FilesOpenIn(m_folder.Path()), std::vector<int>{reader});
    (void)close(reader);
}

TEST_F(LogStreamTest, ATerminalAsLogDoesNotBecomeThatOfTheProcess) {
    ExpectSuccess(RunWithoutTerminal([](const std::string& terminal) {
        const Log log(terminal);
        EXPECT_FALSE(HasTerminal());
        (void)close(open(terminal.c_str(), O_RDWR | O_CLOEXEC));
        EXPECT_TRUE(HasTerminal());  // as it would be
    }));
}

TEST_F(LogStreamTest, AFileWhoseKindTheSystemDoesNotTellIsALogAllTheSame) {
    {
        const FailingCall failing(Call::kFstat, EIO, 1, FailingCall::kAlways);
        Log(m_path).Write("line\n");
        EXPECT_EQ(failing.Count(), 2);
    }
    EXPECT_EQ(Text(), "line\n");
}

TEST_F(LogStreamTest, APartInAFileWhoseSizeIsNotToldIsEndedAndTheLineWrittenAnew) {
    Log log(m_path);
    {
        const FailingCall failing(Call::kFstat, EIO, 1, FailingCall::kAlways);
        const ShortTransfers most(3);
        log.Write("first line\n");
    }
    log.Write("second line\n");
    EXPECT_EQ(Text(), "fir\nfirst line\nsecond line\n");
}

TEST_F(LogStreamTest, ALogWhoseStreamsCannotBeOccupiedIsNotOpened) {
    ExpectSuccess(RunWithoutStreams({1}, [&] {
        const FailingCall failing(Call::kOpen, EMFILE);
        EXPECT_EQ(FailureOf([&] { const Log log(m_path); }),
                  m_path + ": open log: " + ErrorText(EMFILE));
    }));
}

TEST_F(LogStreamTest, SignalsLoseNothing) {
    const FailingCall opening(Call::kOpen, EINTR, 1, 2);
    Log log(m_path);
    EXPECT_EQ(opening.Count(), 3);
    const FailingCall writing(Call::kWrite, EINTR, 1, 2);
    log.Write("line\n");
    EXPECT_EQ(writing.Count(), 3);
    EXPECT_EQ(Text(), "line\n");
}

TEST_F(LogStreamTest, AWriteThatMovesAPartOnlyIsContinued) {
    Log log(m_path);
    {
        const ShortTransfers most(3);
        log.Write("a line of some length\n");
    }
    EXPECT_EQ(Text(), "a line of some length\n");
}

TEST_F(LogStreamTest, AWriteThatFailsIsTriedAnewWithTheNextLine) {
    Log log(m_path);
    {
        const FailingCall failing(Call::kWrite, ENOSPC, 1, 2);
        EXPECT_NO_THROW(log.Write("first\n"));
        EXPECT_NO_THROW(log.Write("second\n"));
        EXPECT_EQ(failing.Count(), 2);
    }
    EXPECT_EQ(Text(), "");
    log.Write("third\n");
    EXPECT_EQ(Text(), "first\nsecond\nthird\n");
}

// Lets the log write the beginning of a text only.
void WriteInPart(Log& log, std::size_t size, const std::string& text) {
    const ShortTransfers most(size);
    const FailingCall failing(Call::kWrite, ENOSPC, 2);
    log.Write(text);
}

TEST_F(LogStreamTest, APartOfALineIsTakenBackAndTheLineWrittenWholeLater) {
    Log log(m_path);
    Log other(m_path);
    log.Write("before\n");
    WriteInPart(log, 4, "first\n");
    EXPECT_EQ(Text(), "before\n");
    other.Write("other\n");
    log.Write("second\n");
    EXPECT_EQ(Text(), "before\nother\nfirst\nsecond\n");
}

TEST_F(LogStreamTest, OfSeveralLinesThoseThatWereWrittenAreNotWrittenAgain) {
    Log log(m_path);
    WriteFile(m_path, "0\n");
    log.TRACE(3, "1\n");
    WriteInPart(log, 3, "23\n");
    EXPECT_EQ(Text(), "0\n1\n");
    log.Write("4\n");
    EXPECT_EQ(Text(), "0\n1\n23\n4\n");
}

TEST_F(LogStreamTest, APartOfALineThatCannotBeTakenBackIsEnded) {
    Log log(m_path);
    {
        const FailingCall stuck(Call::kFtruncate, EPERM);
        WriteInPart(log, 4, "first\n");
    }
    EXPECT_EQ(Text(), "firs");
    {
        const FailingCall full(Call::kWrite, ENOSPC);
        log.Write("second\n");
        EXPECT_EQ(full.Count(), 1) << "nothing follows when the part could not be ended";
    }
    {
        const ShortTransfers most(4);
        const FailingCall full(Call::kWrite, ENOSPC, 3);
        log.Write("third\n");
    }
    EXPECT_EQ(Text(), "firs\n") << "of the next part nothing is left";
    log.Write("fourth\n");
    EXPECT_EQ(Text(), "firs\nfirst\nsecond\nthird\nfourth\n");
}

TEST_F(LogStreamTest, APartOfALineAfterWhichAnotherProgramWroteIsLeftAlone) {
    Log log(m_path);
    {
        const ShortTransfers most(4);
        // The size is asked for before and after the write.
        const CallWatch overtaken(Call::kFstat, [this](int number) {
            if (number == 2) {
                WriteFile(m_path, Text() + "other\n");
            }
            return 0;
        });
        log.Write("first\n");
    }
    EXPECT_EQ(Text(), "firsother\n") << "nothing of it is taken";
    log.Write("second\n");
    EXPECT_EQ(Text(), "firsother\n\nfirst\nsecond\n");
}

TEST_F(LogStreamTest, AFileThatStartsAnewNeedsNoEndOfAPart) {
    Settings settings;
    settings.maxFileSize = 8;
    Log log(m_path, settings);
    {
        const FailingCall stuck(Call::kFtruncate, EPERM);
        WriteInPart(log, 4, "first\n");
    }
    log.Write("2\n");
    EXPECT_EQ(Text(), "first\n2\n");
}

TEST_F(LogStreamTest, WhatAProcessAddedBeforeItForkedIsWrittenByItAlone) {
    Log log(m_path);
    {
        const FailingCall full(Call::kWrite, ENOSPC);
        log.Write("waits\n");
    }
    log.TRACE(3, "parent\n");
    ChildProcess flushing([&] { log.Flush(); });
    EXPECT_EQ(flushing.Wait(), 0);
    EXPECT_EQ(Text(), "");
    ChildProcess writing([&] { log.Write("child\n"); });
    EXPECT_EQ(writing.Wait(), 0);
    EXPECT_EQ(Text(), "child\n");
    log.Flush();
    EXPECT_EQ(Text(), "child\nwaits\nparent\n");
}

TEST_F(LogStreamTest, ALineWithoutAnEndIsCutWhenItHasToWait) {
    Settings settings;
    settings.bufferSize = 12;
    Log log(m_path, settings);
    {
        const FailingCall failing(Call::kWrite, ENOSPC, 1, FailingCall::kAlways);
        for (int i = 0; i < 100; ++i) {
            log.Write("no end ");
        }
    }
    log.Write("later\n");
    EXPECT_EQ(Text(), "no end no e\nlater\n");
    log.Write("no end, written at once");
    log.Write("; the end\n");
    EXPECT_EQ(Text(), "no end no e\nlater\nno end, written at once; the end\n");
}

TEST_F(LogStreamTest, ACanceledThreadEndsAfterTheCallThatItIsIn) {
    EXPECT_TRUE(EndsBeforeItsCanceledThread([this] {
        Settings settings;
        settings.syncAtFlush = true;
        Log log(m_path, settings);
        log.Write("line\n");
        log.TRACE(3, "last\n");
    }));
    EXPECT_EQ(Text(), "line\nlast\n");
}

template <typename List, typename = void>
constexpr bool kTakesList = false;
template <typename List>
constexpr bool kTakesList<List, std::void_t<decltype(std::declval<LogStream&>().TRACE(
                                    1, "x", std::declval<List>(), 0))>> = true;

TEST_F(LogStreamTest, AListThatBecameAPointerAsAParameterDoesNotCompile) {
    const auto isTaken = [](va_list list) {
        (void)list;
        return kTakesList<decltype((list))>;
    };
    va_list list{};
    EXPECT_EQ(isTaken(list), !std::is_array_v<va_list>);
    EXPECT_TRUE(kTakesList<decltype((list))>);
}

TEST_F(LogStreamTest, AFullDiskKeepsTheOldestWholeLinesThatTheBufferHolds) {
    const struct {
        std::vector<std::string> lines;  // each a flush that fails
        std::string kept;
    } cases[] = {
        {{"123456\n", "7890\n"}, "123456\n7890\n"},
        {{"123456\n", "78901\n"}, "123456\n"},
        {{"123456\n", "789012\n", "3\n"}, "123456\n3\n"},
        {{"longer than the buffer\n"}, "longer than the buffer\n"},
        {{"longer than the buffer\n", "next\n"}, "longer than the buffer\n"},
    };
    Settings settings;
    settings.append = false;
    settings.bufferSize = 12;
    for (const auto& c : cases) {
        Log log(m_path, settings);
        {
            const FailingCall failing(Call::kWrite, ENOSPC, 1, FailingCall::kAlways);
            for (const std::string& line : c.lines) {
                log.Write(line);
            }
        }
        log.Write("later\n");
        EXPECT_EQ(Text(), c.kept + "later\n");
    }
}

TEST_F(LogStreamTest, AFullDiskLosesNoRestOfALineThatWasWrittenInPart) {
    Settings settings;
    settings.bufferSize = 4;
    Log log(m_path, settings);
    {
        const ShortTransfers most(3);
        const FailingCall failing(Call::kWrite, ENOSPC, 2, FailingCall::kAlways);
        log.Write("1234567890\n");
        log.Write("lost\n");
    }
    EXPECT_EQ(Text(), "");
    log.Write("later\n");
    EXPECT_EQ(Text(), "1234567890\nlater\n");
}

TEST_F(LogStreamTest, ADeviceThatIsAlwaysFullIsNoFailure) {
    Log log("/dev/full", {true, false});
    EXPECT_NO_THROW(log.Write("line\n"));
    EXPECT_NO_THROW(log.Write("line\n"));
}

TEST_F(LogStreamTest, AFileThatWouldOutgrowItsLimitStartsAnew) {
    WriteFile(m_path, "123456789\n");
    Settings settings;
    settings.maxFileSize = 20;
    Log log(m_path, settings);
    log.Write("123456789\n");
    EXPECT_EQ(Text(), "123456789\n123456789\n") << "it just fits";
    log.Write("new\n");
    EXPECT_EQ(Text(), "new\n");
    log.Write("12345678901234567890\n");
    EXPECT_EQ(Text(), "12345678901234567890\n") << "a line that is longer than the limit";
    log.Write("new\n");
    EXPECT_EQ(Text(), "new\n");
}

TEST_F(LogStreamTest, AFileThatCannotStartAnewGoesOnGrowing) {
    Settings settings;
    settings.maxFileSize = 5;
    Log log(m_path, settings);
    log.Write("1234\n");
    const FailingCall interrupted(Call::kFtruncate, EINTR);
    log.Write("5678\n");
    EXPECT_EQ(Text(), "5678\n");
    const FailingCall failing(Call::kFtruncate, EPERM);
    log.Write("9012\n");
    EXPECT_EQ(Text(), "5678\n9012\n");
}

TEST_F(LogStreamTest, TheSyncAtEachFlushIsMadeWhenAskedFor) {
    const CallWatch syncs(Call::kFdatasync);
    Settings settings;
    Log(m_path, settings).Write("line\n");
    EXPECT_EQ(syncs.Count(), 0);
    settings.syncAtFlush = true;
    Log log(m_path, settings);
    log.Write("line\n");
    EXPECT_EQ(syncs.Count(), 1);
    log.Flush();
    EXPECT_EQ(syncs.Count(), 1) << "there was nothing to sync";
    const FailingCall failing(Call::kFdatasync, EIO);
    EXPECT_NO_THROW(log.Write("line\n"));
    EXPECT_EQ(Text(), "line\nline\nline\n");
}

TEST_F(LogStreamTest, TheLogIsNotHandedToOtherPrograms) {
    const Log log(m_path);
    const std::vector<int> files = FilesOpenIn(m_folder.Path());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(fcntl(files[0], F_GETFD), FD_CLOEXEC);
}

TEST_F(LogStreamTest, TheLogIsNoStandardStream) {
    ExpectSuccess(RunWithoutStreams({0, 1, 2}, [this] {
        Log log(m_path);
        for (int stream = 0; stream <= 2; ++stream) {
            (void)write(stream, "printed\n", 8);
        }
        log.Write("line\n");
    }));
    EXPECT_EQ(Text(), "line\n");
}

TEST_F(LogStreamTest, WithoutMemoryForATextNothingIsAddedAndTheLogGoesOn) {
    Log log(m_path);
    bool failed = false;
    {
        const FailingCall failing(Call::kNew, ENOMEM);
        try {
            log.TRACE(3, "%0100d\n", 1);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
    }
    EXPECT_TRUE(failed);
    log.Write("next\n");
    EXPECT_EQ(Text(), "next\n");
}

TEST_F(LogStreamTest, SeveralLogsOfOneFileAddTheirLinesAtItsEnd) {
    Log first(m_path);
    Log second(m_path);
    first.Write("1\n");
    second.Write("2\n");
    first.Write("3\n");
    EXPECT_EQ(Text(), "1\n2\n3\n");
}

TEST_F(LogStreamTest, TheLinesOfSeveralProcessesStayWholeAndInTheirOrder) {
    constexpr int kProcesses = 4;
    constexpr int kLines = 200;
    const auto line = [](int process, int number) {
        const auto length = static_cast<std::size_t>((number * 37) % 6000);
        return std::to_string(process) + " " + std::to_string(number) + " " +
               std::string(length, static_cast<char>('a' + process));
    };
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int process = 0; process < kProcesses; ++process) {
        children.push_back(std::make_unique<ChildProcess>([&, process] {
            Log log(m_path);
            for (int number = 0; number < kLines; ++number) {
                log.TRACE(3, "%d ", process);
                log.TRACE(3, "%s\n", line(process, number).substr(2).c_str());
                log.Flush();
            }
        }));
    }
    for (const auto& child : children) {
        EXPECT_EQ(child->Wait(), 0);
    }
    std::map<int, int> written;
    std::istringstream lines(Text());
    for (std::string text; std::getline(lines, text);) {
        const int process = text.empty() ? -1 : text[0] - '0';
        ASSERT_EQ(text, line(process, written[process]));
        ++written[process];
    }
    EXPECT_EQ(written, (std::map<int, int>{{0, kLines}, {1, kLines}, {2, kLines}, {3, kLines}}));
}

}  // namespace
