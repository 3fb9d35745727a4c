#include "console.h"

#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
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

std::string systemMessage(const std::error_code& error) {
    return error.message();
}

} // namespace qelm::tool
