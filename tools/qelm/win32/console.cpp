#include "console.h"

#include <windows.h>

namespace qelm::tool {

void prepareConsole() {
    ::SetConsoleOutputCP(CP_UTF8);
}

std::size_t terminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO information{};
    const bool isConsole = ::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &information) != 0;
    return isConsole ? static_cast<std::size_t>(information.srWindow.Right - information.srWindow.Left + 1) : 0;
}

bool errorsGoToTerminal() {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

} // namespace qelm::tool
