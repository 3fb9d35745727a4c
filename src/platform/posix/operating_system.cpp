#include "platform/operating_system.h"

#include <cstdlib>
#include <dlfcn.h>

namespace qelm::platform {

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

} // namespace qelm::platform
