#include "qelm/host/system.h"

#include <cstdlib>
#include <dlfcn.h>
#include <link.h>

namespace qelm::host {

std::filesystem::path executableFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::string libraryFileName(const std::string& baseName) {
    return "lib" + baseName + ".so";
}

std::string appletFileName(const std::string& baseName) {
    return baseName + ".so";
}

void setEnvironment(const char* name, const char* value) {
    if (value != nullptr) {
        ::setenv(name, value, 1);
    } else {
        ::unsetenv(name);
    }
}

namespace detail {

void* openLibrary(const std::filesystem::path& file, std::string& error) {
    void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        error = ::dlerror();
    }
    return handle;
}

std::filesystem::path findOnLoaderPath(const std::filesystem::path& fileName, std::string& error) {
    void* handle = openLibrary(fileName, error);
    if (handle == nullptr) {
        return {};
    }
    const link_map* map = nullptr;
    std::filesystem::path found;
    if (::dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0) {
        found = map->l_name;
    }
    ::dlclose(handle);
    return found;
}

void* openLoadedLibrary(const std::string& fileName) {
    return ::dlopen(fileName.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
}

void closeLibrary(void* handle) {
    ::dlclose(handle);
}

void* findSymbol(void* handle, const char* symbol) {
    return ::dlsym(handle, symbol);
}

const char* exportName(const char* symbol, unsigned short) {
    return symbol;
}

bool librariesLookBesideThemselves() {
    return true; // through their run path
}

} // namespace detail
} // namespace qelm::host
