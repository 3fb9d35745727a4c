#include "process.h"

#include "qelm/host/text.h"

#include <stdexcept>
#include <windows.h>

namespace qelm::test {
namespace {

/** An argument as the C library of the program started takes it apart again. */
std::wstring quoted(const std::wstring& argument) {
    std::wstring text = L"\"";
    size_t backslashes = 0;
    for (const wchar_t letter : argument) {
        if (letter == L'"') {
            text.append(backslashes + 1, L'\\');
        }
        backslashes = letter == L'\\' ? backslashes + 1 : 0;
        text += letter;
    }
    return text + std::wstring(backslashes, L'\\') + L"\"";
}

HANDLE openInheritable(const std::filesystem::path& file) {
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, TRUE};
    return ::CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &attributes, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

int runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors) {
    std::wstring line = quoted(program.native());
    for (const std::string& argument : arguments) {
        line += L" " + quoted(host::pathOf(argument).native());
    }
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = openInheritable(output);
    start.hStdError = openInheritable(errors);
    PROCESS_INFORMATION process{};
    bool started = false;
    for (int attempt = 0; attempt < 5 && !started; ++attempt) { // a busy machine may refuse for a moment
        ::Sleep(attempt == 0 ? 0 : 500);
        started =
            ::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process) != 0;
    }
    const DWORD reason = started ? 0 : ::GetLastError();
    ::CloseHandle(start.hStdOutput);
    ::CloseHandle(start.hStdError);
    if (!started) {
        throw std::runtime_error("could not start " + program.string() + ": error " + std::to_string(reason));
    }
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    ::GetExitCodeProcess(process.hProcess, &status);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return static_cast<int>(status);
}

int interruptProcess(const std::filesystem::path&, const std::vector<std::string>&, const std::filesystem::path&,
                     const std::filesystem::path&, const std::filesystem::path&) {
    throw std::logic_error("there is no Ctrl-C without a console");
}

FileSizeLimit::FileSizeLimit(unsigned long) {
    throw std::logic_error("there is no such limit");
}

FileSizeLimit::~FileSizeLimit() = default;

} // namespace qelm::test
