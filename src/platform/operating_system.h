#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

/** Everything the applet asks of the operating system besides locks; one source per system implements it. */
namespace qelm::platform {

/** The file name of a shared library: "nuvrak5" becomes "nuvrak5.dll" or "libnuvrak5.so". */
std::string sharedLibraryFileName(const std::string& name);

/** Loads a shared library by file name, from where the system's loader looks; on Linux also from beside this library.
 *  @return null when it fails */
void* loadSharedLibrary(const std::string& fileName);
/** @return the function's address, or null when the library does not export it */
void* resolveFunction(void* library, const char* name);
void freeSharedLibrary(void* library);

/** The path of the file that holds the applet's code; nothing when the system has no answer. */
std::optional<std::string> ownLibraryPath();
/** What separates the folders of a path. */
extern const char pathSeparator;

/** The value of an environment variable, which may be empty; nothing when it is not set. */
std::optional<std::string> environmentVariable(const char* name);

/** Counts per second of the high-resolution performance counter; nothing when the system has none. */
std::optional<std::uint64_t> performanceCounterFrequency();
std::uint64_t performanceCounter();
/** Gives the processor away for at least so long. */
void sleepMilliseconds(std::uint32_t milliseconds);
/** The calendar time in the system's time zone. */
std::tm localTime(std::time_t time);

/** The directory for temporary files with a separator at its end; nothing when the system has no answer. */
std::optional<std::string> temporaryDirectory();
/** Who may read and write a new file. */
enum class FileAccess {
    owner,
    others, ///< as the process gives others access to its files
};
/** Creates an empty file. @return false when it exists or cannot be created */
bool createFileExclusively(const std::string& path, FileAccess access);
/**
 * The file that a write to `path` would change, symbolic links followed; it need not exist yet. Its folder, if the
 * result tells one, ends at the last path separator. Nothing for what no
 * file can take the place of: devices, pipes, folders.
 */
std::optional<std::string> replaceableFile(const std::string& path);
/**
 * Puts a complete and closed file in the place of another one in the same folder, whose permissions it takes when that
 * exists. Whatever happens meanwhile, a reader finds the older content or the newer one.
 *
 * @return false when it cannot be done, as with a file that may not be written; both files are then as they were
 */
bool replaceFile(const std::string& file, const std::string& by);
/** Milliseconds since some moment, as the system counts them. */
std::uint64_t millisecondTicks();

} // namespace qelm::platform
