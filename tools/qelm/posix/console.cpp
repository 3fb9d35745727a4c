#include "console.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace qelm::tool {

const char* const temporaryFolderVariable = "TMPDIR";

void prepareConsole() {
    // A closed standard stream would be the number of the next file opened, and get what is printed. Whatever is
    // written to one that is open for reading alone fails as it should.
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (::fcntl(stream, F_GETFD) == -1) {
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void useBinaryOutput() {}

std::vector<std::string> commandLine(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

std::size_t terminalWidth() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool errorsGoToTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

void onInterruption(void (*handle)(int status)) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) { // whoever started us may want us to go on, as nohup does
            sigaddset(&signals, number);
        }
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals, handle] {
        for (int number = 0; ::sigwait(&signals, &number) == 0;) {
            handle(128 + number);
        }
    }).detach();
}

std::FILE* openFile(const std::filesystem::path& file, FileMode mode) {
    constexpr mode_t everybody = 0666; // less what the user's mask takes
    const int flags = mode == FileMode::read     ? O_RDONLY
                      : mode == FileMode::create ? O_WRONLY | O_CREAT | O_EXCL
                                                 : O_WRONLY | O_APPEND;
    const int descriptor = ::open(file.c_str(), flags | O_CLOEXEC, everybody);
    return descriptor < 0 ? nullptr : ::fdopen(descriptor, mode == FileMode::read ? "r" : "w");
}

bool openInBrowser(const std::filesystem::path& file) {
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t actions;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawn_file_actions_init(&actions);
    sigset_t none; // an interruption is this program's affair, and none of the browser's signals are
    sigemptyset(&none);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setpgroup(&attributes, 0);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    }
    std::string program = "xdg-open";
    std::string name = file.string();
    char* const words[] = {program.data(), name.data(), nullptr};
    pid_t child = 0;
    const bool started = ::posix_spawnp(&child, program.c_str(), &actions, &attributes, words, environ) == 0;
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
    if (started) {
        std::thread([child] { ::waitpid(child, nullptr, 0); }).detach();
    }
    return started;
}

std::string systemMessage(const std::error_code& error) {
    return error.message();
}

} // namespace qelm::tool
