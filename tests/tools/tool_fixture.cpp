#include "tests/tools/tool_fixture.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>

#include "support/process_semaphore.h"

extern char** environ;

const char* const kTwoTrunks =
    "# trunks\n"
    "section {\n"
    "siptrunk_master_enabled=1\n"
    "siptrunk_slave_enabled=0\n"
    "}\n"
    "\n"
    "section {\n"
    "trunk_name=office\n"
    "trunk_type=1\n"
    "user_name=1001\n"
    "password=alpha\n"
    "master_ip=192.0.2.10\n"
    "master_port=5060\n"
    "registration_status=1\n"
    "registration_date=03/07/2024\n"
    "registration_time=09:05:31\n"
    "}\n"
    "section {\n"
    "trunk_name=branch\n"
    "trunk_type=0\n"
    "user_name=2001\n"
    "password=beta\n"
    "sym_nat=1\n"
    "slave_ip=198.51.100.7\n"
    "slave_port=5070\n"
    "registration_date=03/08/2024\n"
    "registration_time=10:06:32\n"
    "}\n";

pid_t Start(const Words& words, const std::string& in, const std::string& out,
            const std::string& err) {
    const auto nameOf = [](const std::string& name) {
        return name.empty() ? "/dev/null" : name.c_str();
    };
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));  // posix_spawn only reads
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    const int writing = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&streams, 0, nameOf(in), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&streams, 1, nameOf(out), writing, 0600);
    posix_spawn_file_actions_addopen(&streams, 2, nameOf(err), writing, 0600);
    pid_t process = -1;
    const int failure =
        posix_spawn(&process, arguments[0], &streams, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&streams);
    if (failure != 0) {
        throw std::system_error(failure, std::system_category(), words.front());
    }
    return process;
}

int WaitForEnd(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) == -1) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::system_category(), "waitpid");
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ToolTest::ToolTest() {
    (void)mkdir((Folder() + "/telephony").c_str(), 0755);
    (void)mkdir((Folder() + "/sysconfig").c_str(), 0755);
    for (const char* variable : {"QORV_PATH", "NO_COLOR"}) {
        (void)unsetenv(variable);
    }
}

void ToolTest::OpenStreamsToEverybody() const {
    (void)chmod(Folder().c_str(), 0755);
    (void)chmod(m_streams.Path().c_str(), 0777);
}

Answer ToolTest::RunBare(const Words& words, std::string_view input) const {
    const std::string in = m_streams.File("in");
    const std::string out = m_streams.File("out");
    const std::string err = m_streams.File("err");
    WriteFile(in, input);
    Words all = {SIPTRUNKCTL_PATH};
    all.insert(all.end(), words.begin(), words.end());
    const int code = WaitForEnd(Start(all, in, out, err));
    return {code, ReadFile(out), ReadFile(err)};
}

Answer ToolTest::Run(const Words& words, std::string_view input) const {
    Words all = {"-C", Folder()};
    all.insert(all.end(), words.begin(), words.end());
    return RunBare(all, input);
}

void ToolTest::ExpectAnswer(const Words& words, std::string_view out,
                            std::string_view input) const {
    const Answer answer = Run(words, input);
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.out, out);
    EXPECT_EQ(answer.err, "");
}

void ToolTest::ExpectFailure(const Words& words, int code, const std::string& text,
                             std::string_view input) const {
    const Answer answer = Run(words, input);
    EXPECT_EQ(answer.code, code);
    EXPECT_EQ(answer.out, "");
    EXPECT_EQ(answer.err, "siptrunkctl: " + text + "\n");
}

void ToolTest::Do(const Words& words, std::string_view input) const {
    const Answer answer = Run(words, input);
    ASSERT_EQ(answer.code, 0) << answer.err;
}

std::unique_ptr<ChildProcess> ToolTest::StartStoppedHolder() const {
    Gate held;
    auto holder = std::make_unique<ChildProcess>([&] {
        WriteFile(Folder() + "/holder", NumberAndNameOfThisProcess());
        Semaphore lock(43, "/bin/ls");
        lock.Lock(true);
        held.Open();
        (void)raise(SIGSTOP);
    });
    held.Pass();
    return holder;
}

std::string NumberAndNameOfThisProcess() {
    std::string name = ReadFile("/proc/self/comm");
    name.pop_back();  // the line feed
    return std::to_string(getpid()) + " (" + name + ")";
}
