#include "qelm/host/system.h"

#include <cstdlib>
#include <system_error>
#include <windows.h>

namespace qelm::host {

std::filesystem::path executableFolder() {
    std::wstring file(32768, L'\0');
    file.resize(::GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    return std::filesystem::path(file).parent_path();
}

std::string libraryFileName(const std::string& baseName) {
    return baseName + ".dll";
}

std::string appletFileName(const std::string& baseName) {
    return baseName + ".dll";
}

void setEnvironment(const char* name, const char* value) {
    if (value == nullptr || *value != '\0') {
        ::_putenv_s(name, value != nullptr ? value : ""); // an empty value removes the variable
    } else {
        ::SetEnvironmentVariableA(name, "");
    }
}

namespace detail {

void* openLibrary(const std::filesystem::path& file, std::string& error) {
    // With this flag the libraries that the file links are looked for beside it first; it wants backslashes.
    std::filesystem::path preferred = file;
    void* handle = ::LoadLibraryExW(preferred.make_preferred().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (handle == nullptr) {
        error = std::system_category().message(static_cast<int>(::GetLastError()));
    }
    return handle;
}

std::filesystem::path findOnLoaderPath(const std::filesystem::path& fileName, std::string&) {
    std::wstring file(32768, L'\0');
    file.resize(
        ::SearchPathW(nullptr, fileName.c_str(), nullptr, static_cast<DWORD>(file.size()), file.data(), nullptr));
    return file;
}

void* openLoadedLibrary(const std::string& fileName) {
    HMODULE handle = nullptr;
    ::GetModuleHandleExA(0, fileName.c_str(), &handle);
    return handle;
}

void closeLibrary(void* handle) {
    ::FreeLibrary(static_cast<HMODULE>(handle));
}

void* findSymbol(void* handle, const char* symbol) {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(handle), symbol));
}

const char* exportName(const char*, unsigned short ordinal) {
    return MAKEINTRESOURCEA(ordinal);
}

bool librariesLookBesideThemselves() {
    return false; // the search starts at the program's folder
}

} // namespace detail
} // namespace qelm::host
