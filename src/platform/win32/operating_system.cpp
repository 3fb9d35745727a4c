#include "platform/operating_system.h"

#include <array>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

namespace qelm::platform {

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/** Closes what it holds. */
class Handle {
  public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        if (handle_ != INVALID_HANDLE_VALUE) {
            CloseHandle(handle_);
        }
    }
    HANDLE get() const { return handle_; }

  private:
    HANDLE handle_;
};

/** The text that a function of the system writes: it answers the length, or the room needed with the terminator. */
template <typename Write>
std::optional<std::string> textOf(Write write) {
    std::string text(write(nullptr, 0), '\0');
    const DWORD length = write(text.data(), static_cast<DWORD>(text.size()));
    if (length == 0 || length >= text.size()) {
        return std::nullopt;
    }
    text.resize(length);
    return text;
}

std::optional<std::string> fullPath(const std::string& path) {
    return textOf([&](char* text, DWORD size) { return GetFullPathNameA(path.c_str(), size, text, nullptr); });
}

} // namespace

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

std::tm localTime(std::time_t time) {
    std::tm result{};
    localtime_s(&result, &time);
    return result;
}

std::optional<std::string> temporaryDirectory() {
    std::array<char, 260> folder{};
    const DWORD length = GetTempPathA(static_cast<DWORD>(folder.size()), folder.data());
    if (length == 0 || length >= folder.size()) { // the latter: the size needed
        return std::nullopt;
    }
    return std::string(folder.data(), length);
}

bool createFileExclusively(const std::string& path, FileAccess /*access*/) { // the folder says who may
    const int descriptor = _open(path.c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
    return descriptor >= 0 && _close(descriptor) == 0;
}

std::optional<std::string> replaceableFile(const std::string& path) {
    const Handle file(CreateFileA(path.c_str(), FILE_READ_ATTRIBUTES, shareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE) { // a folder, too
        const DWORD error = GetLastError();
        const bool missing =
            error == ERROR_FILE_NOT_FOUND && GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES;
        return missing ? fullPath(path) : std::nullopt;
    }
    if (GetFileType(file.get()) != FILE_TYPE_DISK) {
        return std::nullopt;
    }
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        return fullPath(path); // not every version of the system replaces files of relative paths
    }
    return textOf([&](char* text, DWORD size) {
        return GetFinalPathNameByHandleA(file.get(), text, size, FILE_NAME_NORMALIZED);
    });
}

bool replaceFile(const std::string& file, const std::string& by) {
    {
        // Without the flush a computer that fails may have the new name and no content behind it.
        const Handle content(CreateFileA(by.c_str(), GENERIC_WRITE, shareAll, nullptr, OPEN_EXISTING, 0, nullptr));
        if (content.get() == INVALID_HANDLE_VALUE || FlushFileBuffers(content.get()) == FALSE) {
            return false;
        }
    }
    if (GetFileAttributesA(file.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return MoveFileExA(by.c_str(), file.c_str(), MOVEFILE_WRITE_THROUGH) != FALSE;
    }
    {
        // A file that is read-only, or in use. Asked first, since a replacement refused may leave its traces.
        const Handle older(
            CreateFileA(file.c_str(), GENERIC_WRITE | DELETE, shareAll, nullptr, OPEN_EXISTING, 0, nullptr));
        if (older.get() == INVALID_HANDLE_VALUE) {
            return false;
        }
    }
    // This keeps the older file's permissions, which moving would not.
    return ReplaceFileA(file.c_str(), by.c_str(), nullptr, 0, nullptr, nullptr) != FALSE;
}

std::uint64_t millisecondTicks() {
    return GetTickCount();
}

} // namespace qelm::platform
