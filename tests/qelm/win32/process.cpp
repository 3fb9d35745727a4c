#include "process.h"

#include <stdexcept>
#include <windows.h>

namespace qelm::test {
namespace {

/** An argument as the C library of the program started takes it apart again. */
std::string quoted(const std::string& argument) {
    std::string text = "\"";
    size_t backslashes = 0;
    for (const char letter : argument) {
        if (letter == '"') {
            text.append(backslashes + 1, '\\');
        }
        backslashes = letter == '\\' ? backslashes + 1 : 0;
        text += letter;
    }
    return text + std::string(backslashes, '\\') + "\"";
}

HANDLE openInheritable(const std::filesystem::path& file) {
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, TRUE};
    return ::CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &attributes, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

int runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors) {
    std::string line = quoted(program.string());
    for (const std::string& argument : arguments) {
        line += " " + quoted(argument);
    }
    STARTUPINFOA start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = openInheritable(output);
    start.hStdError = openInheritable(errors);
    PROCESS_INFORMATION process{};
    const bool started =
        ::CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process) != 0;
    ::CloseHandle(start.hStdOutput);
    ::CloseHandle(start.hStdError);
    if (!started) {
        throw std::runtime_error("could not start " + program.string());
    }
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    ::GetExitCodeProcess(process.hProcess, &status);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return static_cast<int>(status);
}

} // namespace qelm::test
