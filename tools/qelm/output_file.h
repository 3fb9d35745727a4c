#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

/** The files that the verbs write. Each appears whole or not at all. */
namespace qelm::tool {

/** A file that cannot be written, or read; the sentence holds the system's own words. */
class FileError : public std::runtime_error {
  public:
    /** @param error an errno value */
    FileError(const std::filesystem::path& file, const char* attempt, int error);
    FileError(const std::filesystem::path& file, const char* attempt, const std::error_code& error);
};

/**
 * A file under a name of its own beside the target, which commit() puts in the target's place: the old file stays until
 * then, and for good when something fails. Symbolic links are followed and permissions kept. Where the target is no
 * regular file, as a device, it is written directly. Without a commit the object removes what it has written.
 */
class OutputFile {
  public:
    /** @throws FileError when nothing can be written there */
    explicit OutputFile(const std::filesystem::path& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /**
     * Where to write, for those who write by name: an empty file, whose name ends as the target's does. Closed, since
     * Windows shares no file that is open for writing: nothing can be appended any more.
     */
    const std::filesystem::path& closedPath();
    /** Appends. Failures show in check() and commit(). */
    void write(const void* bytes, std::size_t size);
    void write(std::string_view text) { write(text.data(), text.size()); }
    /** Whether it is worth while to go on. @throws FileError for what was written so far */
    void check() const;
    /** @throws FileError, and the target is as it was */
    void commit();

  private:
    void close();
    bool isDirect() const { return path_ == destination_; }

    std::filesystem::path target_;      // as it was named
    std::filesystem::path destination_; // behind symbolic links
    std::filesystem::path path_;
    std::FILE* stream_;
    int error_ = 0; // the first one
};

/** Writes a file in one piece. @throws FileError */
void writeFile(const std::filesystem::path& file, std::string_view content);
/** As writeFile, for the run's own folder: nobody is told of it. @throws FileError */
void writeTemporaryFile(const std::filesystem::path& file, std::string_view content);
/** Reads a file of at most `limit` bytes. @throws FileError, also for a larger one */
std::string readFile(const std::filesystem::path& file, std::size_t limit);

/** @throws std::runtime_error unless the name ends in one of these, as ".png"; letter case does not matter */
void requireExtension(const std::filesystem::path& file, std::initializer_list<std::string_view> extensions);

/** "Written before: a.png and b.png", of many the number and the last; empty when nothing was. */
std::string writtenBefore();

/* What must not outlive the run, whoever ends it: unfinished files, and the folder for temporary ones. */

/** Notes the path, then lets it be created: nobody ends the run in between. */
void createUnfinished(const std::filesystem::path& path, const std::function<void()>& create);
/** It is finished, or gone. */
void removeUnfinished(const std::filesystem::path& path);
/** Removes what is unfinished, for a run that ends here: later ones of these calls do not return. */
void abandonUnfinished();

} // namespace qelm::tool
