#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qelm::test {

/** Runs a program without a shell, its output going to two files. @return its exit status, -1 if it was killed */
int runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors);

/** As runProcess, and presses Ctrl-C, once or more often, as soon as that file is there; on Linux alone. */
int interruptProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                     const std::filesystem::path& output, const std::filesystem::path& errors,
                     const std::filesystem::path& awaited, int times = 1);

/** While it lives, processes started cannot write files of more bytes; on Linux alone. */
class FileSizeLimit {
  public:
    explicit FileSizeLimit(unsigned long bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
};

} // namespace qelm::test
