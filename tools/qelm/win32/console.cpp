#include "console.h"

#include "qelm/host/text.h"

#include <windows.h> // before what builds on it

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <sys/stat.h>

namespace qelm::tool {
namespace {

void (*interruptionHandler)(int status) = nullptr;

BOOL WINAPI handleControl(DWORD) {
    constexpr int interrupted = 130;
    interruptionHandler(interrupted);
    return TRUE;
}

} // namespace

const char* const temporaryFolderVariable = "TMP";

void prepareConsole() {
    ::SetConsoleOutputCP(CP_UTF8);
}

void useBinaryOutput() {
    ::_setmode(::_fileno(stdout), _O_BINARY);
}

std::vector<std::string> commandLine(int, char**) {
    std::vector<std::string> words;
    int count = 0;
    if (wchar_t** all = ::CommandLineToArgvW(::GetCommandLineW(), &count)) {
        for (int i = 1; i < count; ++i) {
            const int size = ::WideCharToMultiByte(CP_UTF8, 0, all[i], -1, nullptr, 0, nullptr, nullptr);
            std::string& word = words.emplace_back(static_cast<std::size_t>(size), '\0');
            ::WideCharToMultiByte(CP_UTF8, 0, all[i], -1, word.data(), size, nullptr, nullptr);
            word.pop_back(); // the terminating zero
        }
        ::LocalFree(all);
    }
    return words;
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

void onInterruption(void (*handle)(int status)) {
    interruptionHandler = handle;
    ::SetConsoleCtrlHandler(handleControl, TRUE);
}

std::FILE* openFile(const std::filesystem::path& file, FileMode mode) {
    const int flags = mode == FileMode::read     ? _O_RDONLY
                      : mode == FileMode::create ? _O_WRONLY | _O_CREAT | _O_EXCL
                                                 : _O_WRONLY | _O_APPEND;
    const int descriptor = ::_wopen(file.c_str(), flags | _O_BINARY, _S_IREAD | _S_IWRITE);
    return descriptor < 0 ? nullptr : ::_fdopen(descriptor, mode == FileMode::read ? "rb" : "wb");
}

bool openInBrowser(const std::filesystem::path& file) {
    constexpr INT_PTR mostFailures = 32;
    return reinterpret_cast<INT_PTR>(::ShellExecuteW(nullptr, L"open", file.c_str(), nullptr, nullptr, SW_SHOWNORMAL)) >
           mostFailures;
}

std::string systemMessage(const std::error_code& error) {
    std::string message = host::utf8Text(error.message());
    message.erase(message.find_last_not_of("\r\n .") + 1);
    return message;
}

} // namespace qelm::tool
