#include "process.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace qelm::test {

namespace {

pid_t startProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   const std::filesystem::path& output, const std::filesystem::path& errors) {
    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);

    constexpr int mode = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), mode, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), mode, 0600);
    pid_t process = 0;
    const int failed = posix_spawn(&process, program.c_str(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        throw std::runtime_error("could not start " + program.string());
    }
    return process;
}

int awaitProcess(pid_t process) {
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

int runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors) {
    return awaitProcess(startProcess(program, arguments, output, errors));
}

int interruptProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                     const std::filesystem::path& output, const std::filesystem::path& errors,
                     const std::filesystem::path& awaited, int times) {
    const pid_t process = startProcess(program, arguments, output, errors);
    for (int attempt = 0; attempt < 6000 && !std::filesystem::exists(awaited); ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    for (int i = 0; i < times; ++i) {
        ::kill(process, SIGINT);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return awaitProcess(process);
}

FileSizeLimit::FileSizeLimit(unsigned long bytes) {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

FileSizeLimit::~FileSizeLimit() {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace qelm::test
