#include "platform/operating_system.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qelm::platform {
namespace {

constexpr std::uint64_t nanosecondsPerSecond = 1000000000;

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
    return info.dli_fname;
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

std::optional<std::string> temporaryFolder() {
    std::string folder = environmentVariable("TMPDIR").value_or("");
    if (folder.empty()) {
        folder = P_tmpdir;
    }
    if (folder.back() != pathSeparator) {
        folder += pathSeparator;
    }
    return folder;
}

bool createFileExclusively(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    return descriptor >= 0 && close(descriptor) == 0;
}

std::uint64_t millisecondTicks() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

} // namespace qelm::platform
