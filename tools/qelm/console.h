#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

/** What differs between systems; one source each. Text is UTF-8. */
namespace qelm::tool {

/** Lets the console show UTF-8, and failures of output come back as errors instead of ending the process. */
void prepareConsole();
/** Bytes of the standard output go out as they are from now on. */
void useBinaryOutput();
/** The words behind the program's name. */
std::vector<std::string> commandLine(int argc, char** argv);
/** The width of the terminal that the output goes to; 0 when it goes elsewhere. */
std::size_t terminalWidth();
/** Whether messages go to a terminal, where they can be replaced. */
bool errorsGoToTerminal();

/** Calls handle(exit status), in a thread of its own, each time the user or the system asks the program to end. */
void onInterruption(void (*handle)(int status));

enum class FileMode { read, create, append };
/** Bytes are taken as they are. @return null with errno set; create: also when the file exists */
std::FILE* openFile(const std::filesystem::path& file, FileMode mode);
/** The system's words for an error. */
std::string systemMessage(const std::error_code& error);

/** Has the user's browser show a file, without waiting for it. @return whether there is one to ask */
bool openInBrowser(const std::filesystem::path& file);

/** The environment variable that names the folder for temporary files. */
extern const char* const temporaryFolderVariable;

} // namespace qelm::tool
