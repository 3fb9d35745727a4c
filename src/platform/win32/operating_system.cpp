#include "platform/operating_system.h"

#include <array>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

namespace qelm::platform {

const char pathSeparator = '\\';

std::string sharedLibraryFileName(const std::string& name) {
    return name + ".dll";
}

void* loadSharedLibrary(const std::string& fileName) {
    return LoadLibraryA(fileName.c_str());
}

void* resolveFunction(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void freeSharedLibrary(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

std::optional<std::string> ownLibraryPath() {
    HMODULE module = nullptr;
    std::array<char, 261> path{};
    if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<const char*>(&ownLibraryPath), &module) == FALSE) {
        return std::nullopt;
    }
    const DWORD length = GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || length >= path.size()) { // the latter: cut off
        return std::nullopt;
    }
    return std::string(path.data(), length);
}

// Not the C library's getenv: its copy of the environment knows neither empty values nor what the host process set
// through the system.
std::optional<std::string> environmentVariable(const char* name) {
    std::string value(256, '\0');
    for (;;) {
        SetLastError(ERROR_SUCCESS);
        const DWORD length = GetEnvironmentVariableA(name, value.data(), static_cast<DWORD>(value.size()));
        if (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) {
            return std::nullopt;
        }
        if (length < value.size()) {
            value.resize(length);
            return value;
        }
        value.resize(length); // the size needed
    }
}

std::optional<std::uint64_t> performanceCounterFrequency() {
    LARGE_INTEGER frequency{};
    if (QueryPerformanceFrequency(&frequency) == FALSE || frequency.QuadPart <= 0) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(frequency.QuadPart);
}

std::uint64_t performanceCounter() {
    LARGE_INTEGER count{};
    QueryPerformanceCounter(&count);
    return static_cast<std::uint64_t>(count.QuadPart);
}

void sleepMilliseconds(std::uint32_t milliseconds) {
    Sleep(milliseconds);
}

std::optional<std::string> temporaryFolder() {
    std::array<char, 260> folder{};
    const DWORD length = GetTempPathA(static_cast<DWORD>(folder.size()), folder.data());
    if (length == 0 || length >= folder.size()) { // the latter: the size needed
        return std::nullopt;
    }
    return std::string(folder.data(), length);
}

bool createFileExclusively(const std::string& path) {
    const int descriptor = _open(path.c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
    return descriptor >= 0 && _close(descriptor) == 0;
}

std::uint64_t millisecondTicks() {
    return GetTickCount();
}

} // namespace qelm::platform
