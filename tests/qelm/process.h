#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qelm::test {

/** Runs a program without a shell, its output going to two files. @return its exit status, -1 if it was killed */
int runProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors);

} // namespace qelm::test
