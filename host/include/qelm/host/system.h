#pragma once

#include <filesystem>
#include <string>

/** What the host asks of the operating system; one source per system under posix/ and win32/. */
namespace qelm::host {

/** The folder of the running program. */
std::filesystem::path executableFolder();
/** The file name of a shared library of the vendor's or the virtual board's: "libnuvrod.so", "nuvrod.dll". */
std::string libraryFileName(const std::string& baseName);
/** The file name of an applet, which carries no prefix: "Zantor_Obvelline_Qx4_RK.so" or ".dll". */
std::string appletFileName(const std::string& baseName);

/**
 * Sets an environment variable for this process and the libraries in it, or removes it when `value` is null. On Windows
 * an empty value is visible to code that asks the system, not to getenv: the C library there knows no empty variables.
 */
void setEnvironment(const char* name, const char* value);

namespace detail {

/** @param[out] error why the library could not be loaded */
void* openLibrary(const std::filesystem::path& file, std::string& error);
/** @return where the loader finds a library of that name; empty, and maybe why, when it finds none that it can load */
std::filesystem::path findOnLoaderPath(const std::filesystem::path& fileName, std::string& error);
/** @return a handle that counts as one more load, or null when the library is not loaded */
void* openLoadedLibrary(const std::string& fileName);
void closeLibrary(void* handle);
void* findSymbol(void* handle, const char* symbol);
/** What findSymbol takes for a function that Windows libraries export by ordinal alone. */
const char* exportName(const char* symbol, unsigned short ordinal);
/** Whether a library that loads another by its bare name gets one that stands beside itself. */
bool librariesLookBesideThemselves();

} // namespace detail
} // namespace qelm::host
