#include "console.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace qelm::tool {

void prepareConsole() {}

std::size_t terminalWidth() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool errorsGoToTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace qelm::tool
