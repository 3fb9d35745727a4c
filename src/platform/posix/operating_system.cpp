#include "platform/operating_system.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace qelm::platform {
namespace {

constexpr std::uint64_t nanosecondsPerSecond = 1000000000;

/** The path of what exists, from the root on and without symbolic links. */
std::optional<std::string> fullPath(const std::string& path) {
    struct FreeText {
        void operator()(char* text) const { std::free(text); }
    };
    const std::unique_ptr<char, FreeText> full(realpath(path.c_str(), nullptr));
    return full == nullptr ? std::nullopt : std::optional<std::string>(full.get());
}

// What relative paths meant to the loader; the process may leave the folder afterwards.
const std::optional<std::string> folderAtLoad = fullPath(".");

} // namespace

const char pathSeparator = '/';

std::string sharedLibraryFileName(const std::string& name) {
    return "lib" + name + ".so";
}

void* loadSharedLibrary(const std::string& fileName) {
    if (void* library = dlopen(fileName.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        return library;
    }
    // The loader looks beside this library by itself, unless a sanitizer's dlopen stands between us.
    const auto path = ownLibraryPath();
    const auto cut = path ? path->rfind(pathSeparator) : std::string::npos;
    return cut == std::string::npos ? nullptr
                                    : dlopen((path->substr(0, cut + 1) + fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* resolveFunction(void* library, const char* name) {
    return dlsym(library, name);
}

void freeSharedLibrary(void* library) {
    dlclose(library);
}

std::optional<std::string> ownLibraryPath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&ownLibraryPath), &info) == 0 || info.dli_fname == nullptr) {
        return std::nullopt;
    }
    const std::string path = info.dli_fname; // as the library was asked for
    if (path.front() == pathSeparator) {
        return path;
    }
    return folderAtLoad ? std::optional(*folderAtLoad + pathSeparator + path) : std::nullopt;
}

std::optional<std::string> environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::optional<std::uint64_t> performanceCounterFrequency() {
    return nanosecondsPerSecond;
}

std::uint64_t performanceCounter() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * nanosecondsPerSecond + static_cast<std::uint64_t>(now.tv_nsec);
}

void sleepMilliseconds(std::uint32_t milliseconds) {
    timespec rest{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    while (nanosleep(&rest, &rest) != 0) { // interrupted by a signal
    }
}

std::tm localTime(std::time_t time) {
    std::tm result{};
    localtime_r(&time, &result);
    return result;
}

std::optional<std::string> temporaryDirectory() {
    std::string folder = environmentVariable("TMPDIR").value_or("");
    if (folder.empty()) {
        folder = P_tmpdir;
    }
    if (folder.back() != pathSeparator) {
        folder += pathSeparator;
    }
    return folder;
}

bool createFileExclusively(const std::string& path, FileAccess access) {
    constexpr mode_t owner = S_IRUSR | S_IWUSR;
    constexpr mode_t others = S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH; // less what the process masks
    const int descriptor =
        open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, access == FileAccess::owner ? owner : owner | others);
    return descriptor >= 0 && close(descriptor) == 0;
}

std::optional<std::string> replaceableFile(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? std::optional(path) : std::nullopt;
    }
    const std::optional<std::string> target = fullPath(path);
    const bool regular = target && stat(target->c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return regular ? target : std::nullopt;
}

bool replaceFile(const std::string& file, const std::string& by) {
    struct stat older {};
    if (stat(file.c_str(), &older) == 0) {
        if (access(file.c_str(), W_OK) != 0) {
            return false;
        }
        // The owner before the mode, which a change of owner may cut. Where only the superuser can give files away,
        // what others save is theirs, in the same group if they are in it.
        static_cast<void>(chown(by.c_str(), older.st_uid, older.st_gid) == 0 ||
                          chown(by.c_str(), static_cast<uid_t>(-1), older.st_gid) == 0);
        if (chmod(by.c_str(), older.st_mode & 07777) != 0) {
            return false;
        }
    }
    // Without the flush a computer that fails may have the new name and no content behind it.
    const int descriptor = open(by.c_str(), O_RDONLY | O_CLOEXEC);
    const bool flushed = descriptor >= 0 && fsync(descriptor) == 0;
    if (descriptor >= 0) {
        close(descriptor);
    }
    return flushed && rename(by.c_str(), file.c_str()) == 0;
}

std::uint64_t millisecondTicks() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

} // namespace qelm::platform
